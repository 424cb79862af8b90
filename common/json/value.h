#pragma once

#include "json/document.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corrivane::json {

class Elements;
class Members;

/// A value of a Document: two words, made to be passed around by value. Each function that says what the value
/// should be throws Error, with the way to it, when it is something else.
class Value {
public:
    bool is_null() const { return kind() == Kind::null; }
    bool is_string() const { return kind() == Kind::string; }
    bool is_boolean() const { return kind() == Kind::boolean; }
    bool is_number() const { return kind() >= Kind::negative && kind() <= Kind::real; }
    bool is_array() const { return kind() == Kind::array; }
    bool is_object() const { return kind() == Kind::object; }

    bool boolean() const;
    /// Escapes are read. Lives as long as the document; may hold NUL characters.
    std::string_view text() const;
    /// Finite.
    double number() const;
    double number(double low, double high) const;
    /// Also of a number such as 3.0.
    std::int64_t whole(std::int64_t low, std::int64_t high) const;
    /// A whole number from 0 to 2^64 - 1.
    std::uint64_t size() const;
    /// A number as JSON has it, for messages and for readers that take any.
    std::string number_text() const;

    /// The number of elements or members; 0 for any other value.
    std::size_t count() const { return kind() >= Kind::array ? token().list.count : 0; }
    /// In their order.
    Elements elements() const;
    /// In their order, those of one name too.
    Members members() const;
    /// The last member of that name; nothing when there is none.
    std::optional<Value> find(std::string_view key) const;
    /// As find(), but there must be one: "materials[0] lacks \"name\"".
    Value at(std::string_view key) const;

    /// Throws Error: "PATH should be EXPECTED".
    [[noreturn]] void refuse(const std::string& expected) const;
    /// Throws Error: "PATH: FAULT".
    [[noreturn]] void fail(const std::string& fault) const;
    /// Takes time in proportion to the document: for messages.
    Path path() const { return m_document->path_to(m_token); }

private:
    friend class Document;
    friend class ElementIterator;
    friend class MemberIterator;
    friend class ElementTable;
    using Kind = Document::Kind;

    Value(const Document& document, std::uint32_t token) : m_document(&document), m_token(token) {}

    const Document::Token& token() const { return m_document->m_tokens[m_token]; }
    Kind kind() const { return token().kind; }
    Value sibling() const { return {*m_document, m_document->next(m_token)}; }
    Value inner(std::uint32_t offset) const { return {*m_document, m_token + offset}; }
    /// The value of a number of that kind as a whole one, if it is one.
    std::optional<std::int64_t> as_whole() const;

    const Document* m_document;
    std::uint32_t m_token;
};

class ElementIterator {
public:
    explicit ElementIterator(Value value) : m_value(value) {}
    Value operator*() const { return m_value; }
    ElementIterator& operator++() {
        m_value = m_value.sibling();
        return *this;
    }
    bool operator==(const ElementIterator& other) const { return m_value.m_token == other.m_value.m_token; }

private:
    Value m_value;
};

/// What a range-based for goes through.
class Elements {
public:
    Elements(ElementIterator begin, ElementIterator end) : m_begin(begin), m_end(end) {}
    ElementIterator begin() const { return m_begin; }
    ElementIterator end() const { return m_end; }

private:
    ElementIterator m_begin;
    ElementIterator m_end;
};

/// An array's elements by their index, for 4 bytes each.
class ElementTable {
public:
    ElementTable() = default;
    explicit ElementTable(const Value& array);

    std::size_t size() const { return m_tokens.size(); }
    Value operator[](std::size_t index) const { return {*m_document, m_tokens[index]}; }

private:
    const Document* m_document = nullptr;
    std::vector<std::uint32_t> m_tokens;
};

struct Member {
    std::string_view key;
    Value value;
};

class MemberIterator {
public:
    explicit MemberIterator(Value name) : m_name(name) {}
    Member operator*() const { return {m_name.m_document->string(m_name.m_token), m_name.inner(1)}; }
    MemberIterator& operator++() {
        m_name = m_name.inner(1).sibling();
        return *this;
    }
    bool operator==(const MemberIterator& other) const { return m_name.m_token == other.m_name.m_token; }

private:
    Value m_name;
};

class Members {
public:
    Members(MemberIterator begin, MemberIterator end) : m_begin(begin), m_end(end) {}
    MemberIterator begin() const { return m_begin; }
    MemberIterator end() const { return m_end; }

private:
    MemberIterator m_begin;
    MemberIterator m_end;
};

}  // namespace corrivane::json
