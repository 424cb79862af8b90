#pragma once

#include "worker/events/job_events.h"
#include "worker/views/complaints.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace corrivane::worker {

/// Keeps the plug-in's crash reports, each in a file of its own: name-frame-0012.txt in a folder that is made
/// with the first of them. No file that is there is replaced. The views that name the files are fed after this.
class CrashFiles : public EventSink {
public:
    CrashFiles(std::string folder, Complain complain);

    void take(const Event& event) override;

    /// The files of a frame's reports, the last attempt's last.
    const std::vector<std::string>& of_frame(int frame) const;

    /// The lines of an error without those that stand in a kept report, the first line aside.
    std::vector<std::string> without_report(int frame, const std::string& error) const;

private:
    void keep(const Event& event, const std::string& report);

    std::string m_folder;
    Complain m_complain;
    std::string m_job_name;
    std::string m_scene;
    bool m_complained = false;
    std::map<int, std::vector<std::string>> m_files;
    std::map<int, std::set<std::string>> m_lines;
};

}  // namespace corrivane::worker
