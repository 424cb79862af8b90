#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::worker {

/// No job has more frames than this, so that a slip of the hand ("1-10000000") is an error and not a
/// full memory.
inline constexpr std::size_t max_frames = 100000;

/// From a first to a last frame, both included.
struct FrameRange {
    int first = 0;
    int last = 0;
    bool operator==(const FrameRange&) const = default;
};

/// Frames as a text names them: a list, with commas or line ends between its items, of
///
///     7        one frame
///     1-48     a range, both ends included, also written 1..48; 48-1 runs downwards
///     1-48x5   every fifth frame of a range, beginning with its first; 48-1x-5 is 48-1x5
///     1-48y5   the frames that 1-48x5 leaves out
///     1-48:5   all of a range in another order: every fifth, then every second (half of five), then the others
///     all      the scene's range; allx5, ally5 and all:5 as above
///
/// Numbers may be negative (-5--1) and are 32 bits wide; blanks may stand around everything. What follows a # up to
/// the line's end is a remark.
class FrameList {
public:
    /// An empty list, which no text makes.
    FrameList() = default;

    /// Throws std::invalid_argument that says where the text is wrong and what may stand there, also for a text
    /// without frames and for more than max_frames of them.
    explicit FrameList(std::string_view text);

    bool empty() const { return m_items.empty(); }
    bool needs_scene() const;

    /// The frames in the order in which they are named. One that is named twice is listed once, where it was named
    /// first. Throws std::invalid_argument where the scene's range makes too many, and std::logic_error where it is
    /// needed and not given.
    std::vector<int> frames(std::optional<FrameRange> scene = {}) const;

    const std::string& text() const { return m_text; }

    enum class Order { every, left_out, interleaved };

    struct Item {
        std::optional<FrameRange> range = {};  // none: the scene's
        Order order = Order::every;
        std::int64_t step = 1;  // at least 1; the direction is that from first to last
        std::size_t begin = 0;  // of its text
        std::size_t end = 0;
    };

private:
    std::string m_text;
    std::vector<Item> m_items;
};

/// The frames as a text that FrameList reads, runs of them as ranges: "1-3,7". In their order.
std::string frame_list_text(const std::vector<int>& frames);

}  // namespace corrivane::worker
