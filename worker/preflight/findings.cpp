#include "worker/preflight/findings.h"

#include "worker/base/printable.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace corrivane::worker {
namespace {

struct Words {
    const char* in_text;
    const char* in_json;
};

Words words_of(Finding::Severity severity) {
    switch (severity) {
        case Finding::Severity::good:
            return {"ok", "good"};
        case Finding::Severity::warning:
            return {"warning", "warning"};
        case Finding::Severity::refusal:
            return {"error", "refusal"};
    }
    return {"", ""};
}

/// The further lines of a text below its first one.
std::string indented(const std::string& text) {
    std::string result;
    for (const std::string& line : printable_lines(text))
        result += (result.empty() ? "" : "\n         ") + line;
    return result;
}

}  // namespace

bool has_refusal(const Findings& findings) {
    return std::ranges::any_of(
        findings, [](const Finding& finding) { return finding.severity == Finding::Severity::refusal; });
}

std::string findings_text(const Findings& findings, Finding::Severity least) {
    std::string text;
    for (const Finding& finding : findings) {
        if (finding.severity < least) continue;
        std::string word = words_of(finding.severity).in_text;
        word.resize(std::string_view("warning").size(), ' ');
        text += word + "  " + finding.subject + ": " + indented(finding.text) + '\n';
        if (!finding.remedy.empty()) text += "         > " + indented(finding.remedy) + '\n';
    }
    return text;
}

std::string findings_json(const Findings& findings) {
    using Json = nlohmann::ordered_json;
    Json list = Json::array();
    for (const Finding& finding : findings)
        list.push_back({{"severity", words_of(finding.severity).in_json},
                        {"subject", finding.subject},
                        {"text", finding.text},
                        {"remedy", finding.remedy}});
    return list.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace corrivane::worker
