// Compares the medians that the benchmark programs wrote with what is promised.
// usage: corrivane-bench-summary RESULT.json...

#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

/// Median times of a benchmark, in nanoseconds.
struct Times {
    double real;
    double cpu;
};

using Measured = std::map<std::string, Times>;

enum class Rule {
    at_most,   ///< the time, in nanoseconds
    beyond,    ///< the time less those of all the baselines together, in nanoseconds
    ratio,     ///< the time over the baseline's
    at_least,  ///< the baseline's time over the time: how many times as fast
};

struct Promise {
    const char* text;
    Rule rule;
    double limit;
    std::string subject;
    std::vector<std::string> baselines = {};
    /// Processor time for the work of one thread: what else the machine does at the moment then counts less.
    double Times::*time = &Times::real;
};

constexpr double us = 1e3;
constexpr double ms = 1e6;
constexpr double s = 1e9;

const std::vector<Promise> promises = {
    {"erroneous command / raw ping-pong",
     Rule::ratio,
     1.5,
     "erroneous_command/host",
     {"erroneous_command/raw"}},
    {"  the same without the product's log",
     Rule::ratio,
     1.5,
     "erroneous_command/host_without_log",
     {"erroneous_command/raw"}},
    {"64x48 frame beyond render and saving",
     Rule::beyond,
     5 * ms,
     "small_frame/host",
     {"small_frame/renderer", "small_frame/saving"}},
    {"start of the host beyond an empty process",
     Rule::beyond,
     100 * ms,
     "start/host",
     {"start/empty_process"}},
    {"guarded call, outermost", Rule::at_most, 6 * us, "guard/outermost", {}, &Times::cpu},
    {"guarded call, nested", Rule::at_most, 1 * us, "guard/nested", {}, &Times::cpu},
    {"trapped fault with a full report", Rule::at_most, 1 * ms, "guard/trapped_fault", {}, &Times::cpu},
    {"progress call, 1 thread", Rule::at_most, 100, "progress/call/threads:1", {}, &Times::cpu},
    {"progress call, 2 threads", Rule::at_most, 100, "progress/call/threads:2", {}, &Times::cpu},
    {"render with progress / without",
     Rule::ratio,
     1.01,
     "progress/render_with",
     {"progress/render_without"}},
    {"  the same in processor time",
     Rule::ratio,
     1.01,
     "progress/render_with",
     {"progress/render_without"},
     &Times::cpu},
    {"black-frame check, share of read bandwidth",
     Rule::at_least,
     0.75,
     "black_frame/check",
     {"black_frame/read"},
     &Times::cpu},
    {"  as fast as color_count",
     Rule::at_least,
     5,
     "black_frame/check",
     {"black_frame/color_count"},
     &Times::cpu},
    {"  as fast as color_range_check",
     Rule::at_least,
     5,
     "black_frame/check",
     {"black_frame/color_range_check"},
     &Times::cpu},
    {"saving PNG / OpenImageIO", Rule::ratio, 1.05, "save/png/host", {"save/png/openimageio"}},
    {"saving JPEG / OpenImageIO", Rule::ratio, 1.05, "save/jpg/host", {"save/jpg/openimageio"}},
    {"saving BMP / OpenImageIO", Rule::ratio, 1.05, "save/bmp/host", {"save/bmp/openimageio"}},
    {"saving TGA / OpenImageIO", Rule::ratio, 1.05, "save/tga/host", {"save/tga/openimageio"}},
    {"saving TIFF / OpenImageIO", Rule::ratio, 1.05, "save/tif/host", {"save/tif/openimageio"}},
    {"saving EXR / OpenImageIO", Rule::ratio, 1.05, "save/exr/host", {"save/exr/openimageio"}},
    {"two hosts of one thread, as fast as one on one core",
     Rule::at_least,
     1.9,
     "worker/two_hosts_of_one_thread",
     {"worker/one_core"}},
    {"two hosts / one host, both on all cores", Rule::ratio, 1.03, "worker/two_hosts", {"worker/one_host"}},
    {"the worker's own processor time / its hosts'",
     Rule::ratio,
     0.01,
     "worker/own_processor_time",
     {"worker/hosts_processor_time"}},
    {"script: 1,000,000 additions", Rule::at_most, 0.1 * s, "script/additions", {}, &Times::cpu},
    {"script: compiling 10,000 lines", Rule::at_most, 50 * ms, "script/compiling/10000", {}, &Times::cpu},
    {"script: compiling 250,000 lines", Rule::at_most, 5 * s, "script/compiling/250000", {}, &Times::cpu},
    {"script: 100,000 published calls", Rule::at_most, 1 * s, "script/published_calls", {}, &Times::cpu},
};

void read_results(const char* file, Measured& measured) {
    static const std::map<std::string, double> nanoseconds{{"ns", 1}, {"us", us}, {"ms", ms}, {"s", s}};
    std::ifstream stream(file);
    const nlohmann::json results = nlohmann::json::parse(stream);
    for (const auto& entry : results.at("benchmarks")) {
        if (entry.value("error_occurred", false) || entry.value("aggregate_name", "") != "median") continue;
        const double unit = nanoseconds.at(entry.at("time_unit"));
        measured[entry.at("run_name")] = {unit * entry.at("real_time").get<double>(),
                                          unit * entry.at("cpu_time").get<double>()};
    }
}

/// The times of a benchmark; its name in the results may go on with how its time was taken ("/real_time").
const Times* find(const Measured& measured, const std::string& name) {
    const auto exact = measured.find(name);
    if (exact != measured.end()) return &exact->second;
    const auto longer = measured.lower_bound(name + '/');
    return longer != measured.end() && longer->first.starts_with(name + '/') ? &longer->second : nullptr;
}

struct Figures {
    double time;
    double baseline = 0;
};

std::optional<Figures> figures_of(const Promise& promise, const Measured& measured) {
    const Times* subject = find(measured, promise.subject);
    if (subject == nullptr) return std::nullopt;
    Figures figures{subject->*promise.time};
    for (const std::string& name : promise.baselines) {
        const Times* baseline = find(measured, name);
        if (baseline == nullptr) return std::nullopt;
        figures.baseline += baseline->*promise.time;
    }
    return figures;
}

std::string time_text(double nanoseconds) {
    char text[32];
    if (nanoseconds < us)
        std::snprintf(text, sizeof text, "%.1f ns", nanoseconds);
    else if (nanoseconds < ms)
        std::snprintf(text, sizeof text, "%.2f us", nanoseconds / us);
    else
        std::snprintf(text, sizeof text, "%.2f ms", nanoseconds / ms);
    return text;
}

std::string ratio_text(double ratio) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", ratio);
    return text;
}

void print_promise(const Promise& promise, const Measured& measured) {
    const std::optional<Figures> figures = figures_of(promise, measured);
    if (!figures) {
        std::printf("%-44s not measured\n", promise.text);
        return;
    }
    double result = 0;
    switch (promise.rule) {
        case Rule::at_most:
        case Rule::beyond:
            result = figures->time - figures->baseline;
            break;
        case Rule::ratio:
            result = figures->time / figures->baseline;
            break;
        case Rule::at_least:
            result = figures->baseline / figures->time;
            break;
    }
    const bool fast = promise.rule == Rule::at_least;
    const bool kept = fast ? result >= promise.limit : result <= promise.limit;
    const auto shown = promise.rule == Rule::at_most || promise.rule == Rule::beyond ? time_text : ratio_text;
    const char* kind = promise.time == &Times::cpu ? "cpu" : "wall";
    std::printf("%-44s %-5s %12s %12s %12s   %s %-10s %s\n", promise.text, kind,
                time_text(figures->time).c_str(),
                promise.baselines.empty() ? "" : time_text(figures->baseline).c_str(), shown(result).c_str(),
                fast ? ">=" : "<=", shown(promise.limit).c_str(), kept ? "kept" : "MISSED");
}

}  // namespace

int main(int argc, char** argv) {
    Measured measured;
    for (int i = 1; i < argc; ++i)
        read_results(argv[i], measured);
    std::printf("\n%-44s %-5s %12s %12s %12s   %s\n", "median times", "clock", "measured", "beside", "result",
                "promise");
    for (const Promise& promise : promises)
        print_promise(promise, measured);
}
