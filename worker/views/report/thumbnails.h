#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corrivane::worker {

/// Makes small pictures of finished frames on a thread of its own, which leaves the processor to the hosts.
class Thumbnails {
public:
    using Pictures = std::map<int, std::vector<unsigned char>>;  // JPEG files by frame

    Thumbnails();
    ~Thumbnails() { finish(false); }
    Thumbnails(const Thumbnails&) = delete;
    Thumbnails& operator=(const Thumbnails&) = delete;

    /// The first of the image files that can be read becomes the frame's picture. Returns at once.
    void add(int frame, std::vector<std::string> files);

    /// Ends the thread and returns the pictures: of all frames, or, without `patience`, those that are there.
    /// To be called once.
    Pictures finish(bool patience);

private:
    struct Order {
        int frame;
        std::vector<std::string> files;
    };

    void make_pictures();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Order> m_orders;
    Pictures m_pictures;
    bool m_over = false;
    std::thread m_thread;
};

}  // namespace corrivane::worker
