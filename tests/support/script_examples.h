#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace corrivane::test {

/// A script of a document and what is said to come of it: a fenced block `maxscript` and the block `text` right
/// behind it, or one line `script --> outcome` of a `maxscript` block.
struct ScriptExample {
    int line = 0;  ///< of the document, where the script's block begins, or its own
    std::string script;
    std::string outcome;  ///< of a block: lines, each with its end

    /// Whether the outcome is what travels in a session, not what the Listener shows.
    bool is_session() const;
};

/// All of a document's examples. A block that has `-->` in it holds one example in each of its lines, with `⏎` for
/// a line break, and comments, which begin with `-- `. Throws std::runtime_error, which names the line, for a block
/// that does not end and for a script without an outcome.
std::vector<ScriptExample> read_script_examples(const std::filesystem::path& document);

/// The lines of a text, without their ends.
std::vector<std::string> lines_of(const std::string& text);

/// Whether a text is what the pattern says; `…` in it stands for any text.
bool matches_outline(const std::string& text, const std::string& pattern);

}  // namespace corrivane::test
