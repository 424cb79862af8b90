#include "maxscript/library/library.h"
#include "maxscript/machine/signature.h"
#include "maxscript/streams/file_access.h"
#include "maxscript/streams/text_reader.h"

#include <algorithm>
#include <cstdio>

/// Settings files: `[section]`, and below it `key=value`. Sections and keys are found in any case; lines that are
/// neither, and the order of all, stay as they are.
namespace corrivane::host {

namespace {

std::string trimmed(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r");
    if (start == std::string_view::npos) return {};
    return std::string(text.substr(start, text.find_last_not_of(" \t\r") + 1 - start));
}

struct IniLine {
    std::string text;
    /// In lower case; what comes before the first section is in "".
    std::string section{};
    /// As written; empty where the line has none.
    std::string key{};
    std::string value{};
    bool starts_section = false;
};

class IniFile {
public:
    /// A file that is not there is empty.
    explicit IniFile(const std::string& name) : m_name(name) {
        check_file_access();
        TextReader reader;
        std::string failure;
        if (!read_file(name, failure, reader)) return;
        m_exists = true;
        const std::string& text = reader.text();
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = std::min(text.find('\n', start), text.size());
            add(text.substr(start, end - start));
            start = end + 1;
        }
    }

    bool exists() const { return m_exists; }
    std::vector<IniLine>& lines() { return m_lines; }

    std::vector<std::string> sections() const {
        std::vector<std::string> names;
        for (const IniLine& line : m_lines)
            if (line.starts_section) names.push_back(line.key);
        return names;
    }
    std::vector<std::string> keys(const std::string& section) const {
        std::vector<std::string> names;
        for (const IniLine& line : m_lines)
            if (!line.starts_section && !line.key.empty() && line.section == lower_case(section))
                names.push_back(line.key);
        return names;
    }
    IniLine* find(const std::string& section, const std::string& key) {
        for (IniLine& line : m_lines)
            if (!line.starts_section && line.section == lower_case(section) &&
                lower_case(line.key) == lower_case(key))
                return &line;
        return nullptr;
    }
    void set(const std::string& section, const std::string& key, const std::string& value) {
        const std::string text = key + "=" + value;
        if (IniLine* line = find(section, key)) {
            *line = {text, line->section, key, value};
            return;
        }
        std::size_t place = end_of(section);
        if (place == 0) {
            add("[" + section + "]");
            place = m_lines.size();
        }
        m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(place),
                       {text, lower_case(section), key, value});
    }
    bool save() const {
        std::string failure;
        std::FILE* file = open_for_writing(m_name, *FileMode::from("w"), failure);
        if (file == nullptr) return false;
        bool written = true;
        for (const IniLine& line : m_lines)
            written = std::fputs((line.text + "\r\n").c_str(), file) >= 0 && written;
        return std::fclose(file) == 0 && written;
    }

private:
    void add(const std::string& written) {
        const std::string text = trimmed(written);
        IniLine line{text, m_lines.empty() ? std::string() : m_lines.back().section};
        const std::size_t sign = text.find('=');
        if (text.starts_with('[') && text.ends_with(']')) {
            line.key = text.substr(1, text.size() - 2);
            line.section = lower_case(line.key);
            line.starts_section = true;
        } else if (!text.starts_with(';') && sign != std::string::npos) {
            line.key = trimmed(text.substr(0, sign));
            line.value = trimmed(text.substr(sign + 1));
        }
        m_lines.push_back(std::move(line));
    }
    /// Behind the last line of a section that says something; 0 when there is no such section.
    std::size_t end_of(const std::string& section) const {
        std::size_t end = 0;
        for (std::size_t i = 0; i < m_lines.size(); ++i)
            if (m_lines[i].section == lower_case(section) && !m_lines[i].key.empty()) end = i + 1;
        return end;
    }

    std::string m_name;
    bool m_exists = false;
    std::vector<IniLine> m_lines;
};

/// `getINISetting file [section [key]]`: the value, the section's keys or the file's sections.
Value* get_setting(const std::string& name, const std::optional<std::string>& section,
                   const std::optional<std::string>& key) {
    IniFile file(name);
    if (!section) return make_array(file.sections());
    if (!key) return make_array(file.keys(*section));
    const IniLine* line = file.find(*section, *key);
    return make_string(line != nullptr ? line->value : "");
}

bool set_setting(const std::string& name, const std::string& section, const std::string& key,
                 const std::string& value, const Keyword<"forceUTF16", bool>&) {
    IniFile file(name);
    file.set(section, key, value);
    return file.save();
}

bool delete_setting(const std::string& name, const std::string& section,
                    const std::optional<std::string>& key) {
    IniFile file(name);
    if (!file.exists()) return false;
    const std::size_t erased = std::erase_if(file.lines(), [&](const IniLine& line) {
        return line.section == lower_case(section) &&
               (!key || (!line.starts_section && lower_case(line.key) == lower_case(*key)));
    });
    return erased > 0 && file.save();
}

bool has_setting(const std::string& name, const std::string& section, const std::optional<std::string>& key) {
    IniFile file(name);
    if (key) return file.find(section, *key) != nullptr;
    for (const std::string& found : file.sections())
        if (lower_case(found) == lower_case(section)) return true;
    return false;
}

}  // namespace

void define_ini_functions() {
    define_functions({
        {"getINISetting", get_setting},
        {"setINISetting", set_setting},
        {"delINISetting", delete_setting},
        {"hasINISetting", has_setting},
    });
}

}  // namespace corrivane::host
