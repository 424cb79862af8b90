#include "worker/preflight/prepare_job.h"

#include "worker/hosts/describe_scene.h"
#include "worker/job/output_names.h"
#include "worker/preflight/disk_space.h"
#include "worker/settings/nearest_key.h"

#include <algorithm>
#include <map>

namespace corrivane::worker {
namespace {

using Severity = Finding::Severity;

/// Prepares one job, step by step.
class Preparation {
public:
    Preparation(const JobSettings& settings, MissingFolders missing)
        : m_job{settings, {}, {}}, m_missing(missing) {}

    PreparedJob run() {
        if (!ask_scene()) return std::move(m_job);
        check_camera();
        check_missing_parts();
        check_renderer();
        take_frames();
        move_outputs();
        if (m_job.scene) look_at_outputs();
        take(check_previews(job(), m_missing));
        return std::move(m_job);
    }

private:
    Job& job() { return m_job.settings.job; }

    void add(Severity severity, const char* subject, std::string text, std::string remedy = {}) {
        m_job.findings.push_back({severity, subject, std::move(text), std::move(remedy)});
    }

    void take(Findings findings) { std::ranges::move(findings, std::back_inserter(m_job.findings)); }

    /// Returns false for a scene that no host opens.
    bool ask_scene() {
        const RunSettings& run = m_job.settings.run;
        try {
            m_job.scene = describe_scene(run.host, run.limits, job().scene);
            add(Severity::good, "scene", job().scene + " opens");
        } catch (const SceneRefused& refused) {
            add(Severity::refusal, "scene", job().scene + " cannot be opened:\n" + refused.what(),
                "name a glTF 2.0 file that is there, such as 'C:\\scenes\\a.gltf' on a drive or ./a.gltf on "
                "this machine");
            return false;
        } catch (const NoDescription& reason) {
            add(needs_description() ? Severity::refusal : Severity::good, "scene",
                "nothing is known of the scene before it renders: " + std::string(reason.what()),
                needs_description() ? "name the frames by their numbers and the output with --output" : "");
        }
        return true;
    }

    bool needs_description() {
        return m_job.settings.frames.needs_scene() || (job().output_folder && !job().output);
    }

    void check_camera() {
        if (!m_job.scene || job().camera.empty()) return;
        const auto& cameras = m_job.scene->cameras;
        if (std::ranges::find(cameras, job().camera) != cameras.end()) return;
        std::string list;
        for (const std::string& camera : cameras)
            list += (list.empty() ? "" : ", ") + camera;
        add(Severity::refusal, "camera",
            "the scene has no camera \"" + job().camera + '"' +
                did_you_mean(nearest_name(job().camera, cameras)),
            list.empty() ? "it has none: leave --camera out" : "its cameras are " + list);
    }

    void check_missing_parts() {
        if (!m_job.scene) return;
        const std::vector<std::string> ignored = missing_kind_names(job().options.ignore_missing);
        std::map<std::string, std::string> names;  // by kind
        for (const auto& part : m_job.scene->missing)
            if (std::ranges::find(ignored, part.kind) == ignored.end())
                names[part.kind] += (names[part.kind].empty() ? "" : ", ") + part.name;
        for (const auto& [kind, list] : names)
            add(Severity::refusal, "scene", "it lacks " + kind + ": " + list,
                "bring what is missing, or render without it: --ignore-missing " + kind);
    }

    void check_renderer() {
        if (m_job.scene && !m_job.scene->renderer_installed)
            add(Severity::refusal, "renderer", "the renderer that the scene asks for is not installed",
                "choose another one in the scene");
    }

    void take_frames() {
        const FrameList& frames = m_job.settings.frames;
        if (!frames.needs_scene() || !m_job.scene) return;
        job().frames = frames.frames(m_job.scene->range);
        check_job(job());
    }

    void move_outputs() {
        if (!job().output_folder) return;
        const std::string& folder = *job().output_folder;
        const std::string output = job().output.value_or(m_job.scene ? m_job.scene->output : "");
        if (!output.empty()) job().output = moved_to_folder(folder, output);
        if (!m_job.scene) return;
        for (const auto& element : m_job.scene->elements)
            job().element_outputs.push_back(element.output.empty() ? ""
                                                                   : moved_to_folder(folder, element.output));
    }

    void look_at_outputs() {
        const std::vector<PlannedOutput> outputs = planned_outputs(job(), *m_job.scene);
        if (m_job.scene->saves_file && (outputs.empty() || outputs.front().what != "output"))
            add(Severity::refusal, "output", "the scene names no output file", "name one with --output");
        if (!m_job.scene->saves_file)
            add(Severity::warning, "output", "the scene saves no image (its saveFile is false)",
                "switch saving on in the scene");
        look_at_elements(outputs);
        take(check_outputs(outputs, job(), m_missing));
        if (!has_refusal(m_job.findings)) take(check_disk_space(outputs, job()));
    }

    /// An output of one's own, and elements where the scene puts them, for all jobs alike.
    void look_at_elements(const std::vector<PlannedOutput>& outputs) {
        if (!job().output || job().output_folder) return;
        const std::string_view folder = folder_of_name(*job().output);
        for (const PlannedOutput& output : outputs)
            if (output.what != "output" && folder_of_name(output.name) != folder)
                add(Severity::warning, "elements",
                    output.what + " goes to " + output.name + ", as in every job of this scene",
                    "--output-folder moves the elements, too");
    }

    PreparedJob m_job;
    MissingFolders m_missing;
};

}  // namespace

std::string PreparedJob::space_lacking_after(int frame) const {
    if (!scene) return "";
    return worker::space_lacking_after(frame, planned_outputs(settings.job, *scene), settings.job);
}

PreparedJob prepare_job(const JobSettings& settings, MissingFolders missing) {
    return Preparation(settings, missing).run();
}

}  // namespace corrivane::worker
