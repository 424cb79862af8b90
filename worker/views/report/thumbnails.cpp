#include "worker/views/report/thumbnails.h"

#include "images/image_module.h"
#include "worker/base/signal_free_thread.h"

#include <sys/resource.h>
#include <unistd.h>

#include <exception>
#include <utility>

namespace corrivane::worker {
namespace {

/// In pixels: sharp on a contact sheet, and a thousand of them are still a page that opens at once.
constexpr int longest_side = 240;

/// Less important than rendering, as far as a thread may be.
constexpr int niceness = 15;

std::vector<unsigned char> picture_of(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        try {
            std::vector<unsigned char> jpeg;
            image_module().shrink(file, longest_side, jpeg);
            return jpeg;
        } catch (const std::exception&) {
            // A frame without a picture is shown by its number.
        }
    }
    return {};
}

}  // namespace

Thumbnails::Thumbnails() : m_thread(start_signal_free_thread([this] { make_pictures(); })) {}

void Thumbnails::add(int frame, std::vector<std::string> files) {
    {
        const std::lock_guard lock(m_mutex);
        m_orders.push_back({frame, std::move(files)});
    }
    m_changed.notify_one();
}

Thumbnails::Pictures Thumbnails::finish(bool patience) {
    {
        const std::lock_guard lock(m_mutex);
        m_over = true;
        if (!patience) m_orders.clear();
    }
    m_changed.notify_one();
    if (m_thread.joinable()) m_thread.join();
    return std::exchange(m_pictures, {});
}

void Thumbnails::make_pictures() {
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), niceness);
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_over || !m_orders.empty(); });
        if (m_orders.empty()) return;
        const Order order = std::move(m_orders.front());
        m_orders.pop_front();
        lock.unlock();
        std::vector<unsigned char> picture = picture_of(order.files);
        lock.lock();
        if (!picture.empty()) m_pictures[order.frame] = std::move(picture);
    }
}

}  // namespace corrivane::worker
