#include "worker/job/frame_list.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <unordered_set>

namespace corrivane::worker {
namespace {

using Item = FrameList::Item;
using Order = FrameList::Order;

constexpr const char* allowed =
    "; frames are 7, 1-48, 48-1, 1-48x2, 1-48y2, 1-48:2 or all, with commas between them";

/// "frame list, column 3": and the line, where there are several.
std::string place_in(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    const auto line = std::ranges::count(before, '\n') + 1;
    const std::size_t column =
        offset - (before.rfind('\n') + 1) + 1;  // without a line end in front, npos + 1 is 0
    std::string place = "frame list, ";
    if (text.find('\n') != std::string_view::npos) place += "line " + std::to_string(line) + ", ";
    return place + "column " + std::to_string(column) + ": ";
}

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

/// Reads one item of the list from left to right.
class ItemReader {
public:
    ItemReader(std::string_view text, std::size_t begin, std::size_t end)
        : m_text(text), m_begin(begin), m_end(end), m_at(begin) {}

    Item item() {
        Item item{.begin = m_begin, .end = m_end};
        if (!skip("all")) item.range = range();
        if (skip("x"))
            item.step = step(item.range);
        else if (skip("y"))
            item.order = Order::left_out, item.step = step(item.range);
        else if (skip(":"))
            item.order = Order::interleaved, item.step = step(item.range);
        if (!at_end()) fail('"' + rest() + "\" means nothing here");
        if (item.order == Order::left_out && item.step == 1) fail("a step of 1 leaves no frame out");
        return item;
    }

private:
    FrameRange range() {
        const int first = number("a frame");
        return {first, skip("-") || skip("..") ? number("the range's last frame") : first};
    }

    /// A step may carry the sign of the range's direction.
    std::int64_t step(const std::optional<FrameRange>& range) {
        const std::size_t begin = m_at;
        const std::int64_t step = number("a step");
        if (step > 0) return step;
        const bool downwards = range && range->last < range->first;
        if (step == 0 || !downwards) {
            m_at = begin;
            fail(step == 0 ? "a step of 0 leads nowhere" : "the step leads away from the range's last frame");
        }
        return -step;
    }

    int number(const char* meaning) {
        skip("");
        int value = 0;
        const auto [stop, error] = std::from_chars(m_text.data() + m_at, m_text.data() + m_end, value);
        if (error == std::errc::result_out_of_range) fail("the number is beyond 32 bits");
        if (error != std::errc())
            fail(at_end() ? std::string(meaning) + " is missing" : '"' + rest() + "\" is not " + meaning);
        m_at = static_cast<std::size_t>(stop - m_text.data());
        return value;
    }

    /// Skips blanks, too.
    bool skip(std::string_view expected) {
        while (m_at < m_end && is_blank(m_text[m_at]))
            ++m_at;
        if (!m_text.substr(m_at, m_end - m_at).starts_with(expected)) return false;
        m_at += expected.size();
        return true;
    }

    bool at_end() {
        skip("");
        return m_at == m_end;
    }

    std::string rest() const {
        return std::string(m_text.substr(m_at, std::min<std::size_t>(m_end - m_at, 40)));
    }

    [[noreturn]] void fail(const std::string& reason) const {
        throw std::invalid_argument(place_in(m_text, m_at) + reason + allowed);
    }

    std::string_view m_text;
    std::size_t m_begin;
    std::size_t m_end;
    std::size_t m_at;
};

/// Collects frames, each once.
class FrameCollector {
public:
    explicit FrameCollector(std::string_view text) : m_text(text) {}

    void add(const Item& item, const FrameRange& range) {
        m_item = &item;
        m_first = range.first;
        m_direction = range.first <= range.last ? 1 : -1;
        const std::int64_t count = (std::int64_t{range.last} - range.first) * m_direction + 1;
        // A range of which every second frame is left out may be twice as long.
        if (count / (item.order == Order::interleaved ? 1 : item.step) >
            static_cast<std::int64_t>(max_frames))
            refuse_size();
        if (item.order == Order::every) add_every(count, item.step);
        if (item.order == Order::left_out) add_left_out(count, item.step);
        if (item.order == Order::interleaved)
            for (std::int64_t step = item.step; step > 0; step /= 2)
                add_every(count, step);
    }

    std::vector<int> take() { return std::move(m_frames); }

private:
    void add_every(std::int64_t count, std::int64_t step) {
        for (std::int64_t i = 0; i < count; i += step)
            add_frame(i);
    }

    void add_left_out(std::int64_t count, std::int64_t step) {
        for (std::int64_t i = 0; i < count; ++i)
            if (i % step != 0) add_frame(i);
    }

    void add_frame(std::int64_t index) {
        const int frame = static_cast<int>(m_first + index * m_direction);
        if (!m_seen.insert(frame).second) return;
        if (m_frames.size() == max_frames) refuse_size();
        m_frames.push_back(frame);
    }

    [[noreturn]] void refuse_size() const {
        throw std::invalid_argument(place_in(m_text, m_item->begin) + '"' +
                                    std::string(m_text.substr(m_item->begin, m_item->end - m_item->begin)) +
                                    "\" makes the list longer than " + std::to_string(max_frames) +
                                    " frames");
    }

    std::string_view m_text;
    const Item* m_item = nullptr;
    std::int64_t m_first = 0;
    std::int64_t m_direction = 1;
    std::vector<int> m_frames;
    std::unordered_set<int> m_seen;
};

/// Adds the items of one line, whose remark has been taken off.
void read_line(std::string_view text, std::size_t begin, std::size_t end, std::vector<Item>& items) {
    while (begin < end && is_blank(text[begin]))
        ++begin;
    while (begin < end && is_blank(text[end - 1]))
        --end;
    if (begin == end) return;
    for (;;) {
        const std::size_t comma = std::min(text.find(',', begin), end);
        items.push_back(ItemReader(text, begin, comma).item());
        if (comma == end) return;
        begin = comma + 1;
    }
}

}  // namespace

FrameList::FrameList(std::string_view text) : m_text(text) {
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::size_t remark = std::min(text.find('#', begin), end);
        read_line(text, begin, remark, m_items);
        begin = end + 1;
    }
    if (m_items.empty()) throw std::invalid_argument(std::string("the frame list names no frames") + allowed);
    FrameCollector collector(m_text);
    for (const Item& item : m_items)
        if (item.range) collector.add(item, *item.range);
}

bool FrameList::needs_scene() const {
    return std::ranges::any_of(m_items, [](const Item& item) { return !item.range; });
}

std::vector<int> FrameList::frames(std::optional<FrameRange> scene) const {
    if (needs_scene() && !scene) throw std::logic_error("a frame list needs the scene's range");
    FrameCollector collector(m_text);
    for (const Item& item : m_items)
        collector.add(item, item.range ? *item.range : *scene);
    return collector.take();
}

std::string frame_list_text(const std::vector<int>& frames) {
    std::string text;
    for (std::size_t i = 0; i < frames.size();) {
        std::size_t end = i + 1;
        while (end < frames.size() && std::int64_t{frames[end]} == std::int64_t{frames[end - 1]} + 1)
            ++end;
        text += (text.empty() ? "" : ",") + std::to_string(frames[i]);
        if (end - i > 1) text += '-' + std::to_string(frames[end - 1]);
        i = end;
    }
    return text;
}

}  // namespace corrivane::worker
