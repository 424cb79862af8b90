#include "worker/job/frame_list.h"

#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <unordered_set>

namespace corrivane::worker {
namespace {

[[noreturn]] void refuse(std::string_view item, const std::string& reason) {
    throw std::invalid_argument("frame list: \"" + std::string(item) + "\" " + reason);
}

/// Reads one item of the list from left to right.
class ItemReader {
public:
    explicit ItemReader(std::string_view item) : m_item(item), m_rest(item) {}

    int number(const char* meaning) {
        int value = 0;
        const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), value);
        if (error == std::errc::result_out_of_range) refuse(m_item, "holds a number beyond 32 bits");
        if (error != std::errc()) refuse(m_item, std::string("lacks ") + meaning);
        m_rest.remove_prefix(end - m_rest.data());
        return value;
    }

    bool skip(char expected) {
        if (m_rest.empty() || m_rest.front() != expected) return false;
        m_rest.remove_prefix(1);
        return true;
    }

    void end() const {
        if (!m_rest.empty())
            refuse(m_item, "has \"" + std::string(m_rest) + "\" at its end, which means nothing here");
    }

private:
    std::string_view m_item;
    std::string_view m_rest;
};

struct FrameRange {
    std::int64_t first;
    std::int64_t last;
    std::int64_t step;  // at least 1; the direction is that from first to last
};

FrameRange parse_item(std::string_view item) {
    ItemReader reader(item);
    const int first = reader.number("a frame number");
    FrameRange range{first, first, 1};
    if (reader.skip('-')) {
        range.last = reader.number("the last frame of its range");
        if (reader.skip('x')) range.step = reader.number("a step after the x");
        if (range.step < 1) refuse(item, "has a step below 1");
    }
    reader.end();
    return range;
}

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// Collects frames, each once.
class FrameCollector {
public:
    void add(std::string_view item, const FrameRange& range) {
        const std::int64_t step = range.first <= range.last ? range.step : -range.step;
        const std::int64_t count = (range.last - range.first) / step + 1;
        if (count > static_cast<std::int64_t>(max_frames)) refuse_size(item);
        for (std::int64_t i = 0; i < count; ++i)
            add_frame(static_cast<int>(range.first + i * step));
        if (m_frames.size() > max_frames) refuse_size(item);
    }

    std::vector<int> take() { return std::move(m_frames); }

private:
    [[noreturn]] static void refuse_size(std::string_view item) {
        refuse(item, "makes the list longer than " + std::to_string(max_frames) + " frames");
    }

    void add_frame(int frame) {
        if (m_seen.insert(frame).second) m_frames.push_back(frame);
    }

    std::vector<int> m_frames;
    std::unordered_set<int> m_seen;
};

}  // namespace

std::vector<int> parse_frame_list(std::string_view text) {
    if (trim(text).empty()) throw std::invalid_argument("the frame list names no frames");
    FrameCollector frames;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const std::string_view item = trim(text.substr(begin, end - begin));
        if (item.empty())
            throw std::invalid_argument("frame list: \"" + std::string(text) + "\" has an empty item");
        frames.add(item, parse_item(item));
        begin = end + 1;
    }
    return frames.take();
}

}  // namespace corrivane::worker
