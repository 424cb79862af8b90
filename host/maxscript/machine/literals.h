#pragma once

#include "maxscript/machine/expressions.h"

#include <cstdint>
#include <string>
#include <vector>

/// The nodes of what is written down as it is, and the few that stand for something else.
namespace corrivane::host {

/// `$path`: looked up each time.
class PathLiteral final : public Node {
public:
    PathLiteral(int line, std::string path) : Node(line), m_path(std::move(path)) {}
    Value* eval(Activation& activation) const override;

private:
    std::string m_path;
};

/// `10f`: how long a frame takes is the scene's.
class TimeLiteral final : public Node {
public:
    TimeLiteral(int line, double seconds, double frames, std::int64_t ticks)
        : Node(line), m_seconds(seconds), m_frames(frames), m_ticks(ticks) {}
    Value* eval(Activation& activation) const override;

private:
    double m_seconds;
    double m_frames;
    std::int64_t m_ticks;
};

/// `[x, y]`, `[x, y, z]`, `[x, y, z, w]`.
class PointLiteral final : public Node {
public:
    PointLiteral(int line, std::vector<const Node*> parts) : Node(line), m_parts(std::move(parts)) {}
    Value* eval(Activation& activation) const override;

private:
    std::vector<const Node*> m_parts;
};

/// `#{1, 3..5}`.
class BitArrayLiteral final : public Node {
public:
    struct Range {
        const Node* first;
        /// Null for a single number, or an array of them.
        const Node* last;
    };
    BitArrayLiteral(int line, std::vector<Range> ranges, std::size_t slot)
        : Node(line), m_ranges(std::move(ranges)), m_slot(slot) {}
    Value* eval(Activation& activation) const override;

private:
    std::vector<Range> m_ranges;
    std::size_t m_slot;
};

/// `&target`: what is called can assign it.
class ReferenceNode final : public Node {
public:
    ReferenceNode(int line, const Target* target) : Node(line), m_target(target) {}
    Value* eval(Activation& activation) const override;

private:
    const Target* m_target;
};

/// `*reference`.
class Dereference final : public Target {
public:
    Dereference(int line, const Node* reference, std::size_t slot)
        : Target(line), m_reference(reference), m_slot(slot) {}
    bool locate(Activation& activation) const override;
    Value* load(Activation& activation) const override;
    void store(Activation& activation, Value* content) const override;
    Value* make_reference(Activation& activation) const override;

private:
    const Node* m_reference;
    std::size_t m_slot;
};

/// A part of the language that this host does not have.
class AbsentStatement final : public Node {
public:
    AbsentStatement(int line, std::string what) : Node(line), m_what(std::move(what)) {}
    Value* eval(Activation& activation) const override;

private:
    std::string m_what;
};

/// The expressions of a file that `include` names.
class IncludedCode final : public Node {
public:
    IncludedCode(int line, const std::string* file, std::vector<const Node*> expressions)
        : Node(line), m_file(file), m_expressions(std::move(expressions)) {}
    Value* eval(Activation& activation) const override;

private:
    const std::string* m_file;
    std::vector<const Node*> m_expressions;
};

/// The definition of something with a user interface: gives its variable a value that has a name and no more.
class InterfaceDefinition final : public Node {
public:
    /// `kind` is "Rollout", "Utility" and so on. `target` is null where the definition defines no variable.
    InterfaceDefinition(int line, std::string kind, std::string name, const Target* target, std::size_t slot)
        : Node(line), m_kind(std::move(kind)), m_name(std::move(name)), m_target(target), m_slot(slot) {}
    Value* eval(Activation& activation) const override;

private:
    std::string m_kind;
    std::string m_name;
    const Target* m_target;
    std::size_t m_slot;
};

}  // namespace corrivane::host
