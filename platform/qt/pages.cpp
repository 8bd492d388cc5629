#include "platform/qt/pages.h"

#include <cstdint>
#include <system_error>
#include <thread>

#include <sys/mman.h>
#include <unistd.h>

namespace bm::qt {

namespace {

// Maps in [begin, end) and writes each page once (the same byte back), so that the first write
// of the drawing that follows finds the page ready: in a virtual machine that first write can
// cost as much again as mapping the page in.
bool mapAndTouch(std::uintptr_t begin, std::uintptr_t end, std::uintptr_t page) {
#ifdef MADV_POPULATE_WRITE
    if (madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE) != 0)
        return false;
    for (std::uintptr_t at = begin; at < end; at += page) {
        volatile unsigned char* byte = reinterpret_cast<unsigned char*>(at);
        *byte = *byte;
    }
    return true;
#else
    (void)begin;
    (void)end;
    (void)page;
    return false;
#endif
}

}  // namespace

bool mapIn(const void* at, std::size_t bytes) {
    static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto from = reinterpret_cast<std::uintptr_t>(at);
    const std::uintptr_t begin = from / page * page;
    const std::uintptr_t end = from + bytes;
    if (!from || end <= begin) return false;
    // A large range is shared with a second thread: the faults of two cores overlap.
    constexpr std::uintptr_t kShared = 2u << 20;
    if (end - begin < kShared) return mapAndTouch(begin, end, page);
    const std::uintptr_t middle = (begin + (end - begin) / 2) / page * page;
    bool second = false;
    std::thread helper;
    try {
        helper = std::thread([&] { second = mapAndTouch(middle, end, page); });
    } catch (const std::system_error&) {
        return mapAndTouch(begin, end, page);  // no thread to be had: one does it all
    }
    const bool first = mapAndTouch(begin, middle, page);
    helper.join();
    return first && second;
}

bool mapIn(const QImage& image) {
    return mapIn(image.constBits(), static_cast<std::size_t>(image.sizeInBytes()));
}

}  // namespace bm::qt
