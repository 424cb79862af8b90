#include "json/document.h"

#include "json/shortened.h"
#include "json/value.h"

#include <nlohmann/json.hpp>

namespace corrivane::json {

/// Takes what the parser finds. The parser itself keeps nothing but the string that it is in.
class Builder final : public nlohmann::json_sax<nlohmann::json> {
public:
    Builder(Document& document, int depth) : m_document(document), m_depth(depth) {}

    /// Empty on success.
    const std::string& fault() const { return m_fault; }

    bool null() override {
        add(Document::Kind::null);
        return true;
    }
    bool boolean(bool value) override {
        add(Document::Kind::boolean).whole = value ? 1 : 0;
        return true;
    }
    bool number_integer(number_integer_t value) override {
        add(Document::Kind::negative).negative = value;
        return true;
    }
    bool number_unsigned(number_unsigned_t value) override {
        add(Document::Kind::whole).whole = value;
        return true;
    }
    bool number_float(number_float_t value, const string_t&) override {
        add(Document::Kind::real).real = value;
        return true;
    }
    bool string(string_t& text) override {
        count();
        return add_string(text);
    }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return open(Document::Kind::object); }
    bool key(string_t& name) override { return add_string(name); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(Document::Kind::array); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override {
        const std::string_view text = error.what();
        // In front stand the library's own name and number, in brackets.
        const std::size_t tag = text.find("] ");
        m_fault = shortened(tag == std::string_view::npos ? text : text.substr(tag + 2), 200);
        return false;
    }

private:
    void count() {
        if (!m_open.empty()) ++m_document.m_tokens[m_open.back()].list.count;
    }
    Document::Token& push(Document::Kind kind) {
        Document::Token token{};
        token.kind = kind;
        m_document.m_tokens.push_back(token);
        return m_document.m_tokens.back();
    }
    Document::Token& add(Document::Kind kind) {
        count();
        return push(kind);
    }
    bool add_string(const std::string& text) {
        Document::Token& token = push(Document::Kind::string);
        token.string = {static_cast<std::uint32_t>(m_document.m_strings.size()),
                        static_cast<std::uint32_t>(text.size())};
        m_document.m_strings += text;
        return true;
    }
    bool open(Document::Kind kind) {
        if (static_cast<int>(m_open.size()) == m_depth) {
            m_fault = "nested more than " + std::to_string(m_depth) + " deep";
            return false;
        }
        add(kind);
        m_open.push_back(static_cast<std::uint32_t>(m_document.m_tokens.size() - 1));
        return true;
    }
    bool close() {
        m_document.m_tokens[m_open.back()].list.end = static_cast<std::uint32_t>(m_document.m_tokens.size());
        m_open.pop_back();
        return true;
    }

    Document& m_document;
    const int m_depth;
    std::vector<std::uint32_t> m_open;
    std::string m_fault;
};

Document::Document(std::string_view text, int depth) {
    // Strings never grow when their escapes are read. What is not used of that is never touched.
    m_strings.reserve(text.size());
    Builder builder(*this, depth);
    nlohmann::json::sax_parse(text.begin(), text.end(), &builder);
    if (!builder.fault().empty()) throw Error({}, ": " + builder.fault());
}

Value Document::root() const {
    return {*this, 0};
}

Path Document::path_to(std::uint32_t token) const {
    Path path;
    std::uint32_t at = 0;
    while (at != token) {
        const bool is_object = m_tokens[at].kind == Kind::object;
        const std::uint32_t name_size = is_object ? 1 : 0;
        Step step;
        step.is_index = !is_object;
        std::uint32_t child = at + 1 + name_size;
        while (next(child) <= token) {
            child = next(child) + name_size;
            ++step.index;
        }
        if (is_object) step.key = shortened(string(child - 1));
        path.push_back(std::move(step));
        at = child;
    }
    return path;
}

}  // namespace corrivane::json
