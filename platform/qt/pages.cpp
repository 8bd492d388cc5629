#include "platform/qt/pages.h"

#include <cstdint>
#include <system_error>
#include <thread>

#include <sys/mman.h>
#include <unistd.h>

namespace bm::qt {

namespace {

// Maps in the pages of [from, end) and writes a byte of each once (the same byte back), so that
// the first write of the drawing that follows finds the page ready: in a virtual machine that
// first write can cost as much again as mapping the page in. Only bytes of the range are written:
// the rest of its first page may belong to something another thread is writing.
bool mapAndTouch(std::uintptr_t from, std::uintptr_t end, std::uintptr_t page) {
#ifdef MADV_POPULATE_WRITE
    const std::uintptr_t begin = from / page * page;
    if (madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE) != 0)
        return false;
    for (std::uintptr_t at = from; at < end; at = (at / page + 1) * page) {
        volatile unsigned char* byte = reinterpret_cast<unsigned char*>(at);
        *byte = *byte;
    }
    return true;
#else
    (void)from;
    (void)end;
    (void)page;
    return false;
#endif
}

}  // namespace

bool mapIn(const void* at, std::size_t bytes) {
    static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto from = reinterpret_cast<std::uintptr_t>(at);
    const std::uintptr_t end = from + bytes;
    if (!from || end <= from) return false;
    // A large range is shared with a second thread: the faults of two cores overlap.
    constexpr std::uintptr_t kShared = 2u << 20;
    if (end - from < kShared) return mapAndTouch(from, end, page);
    const std::uintptr_t middle = (from + (end - from) / 2) / page * page;
    bool second = false;
    std::thread helper;
    try {
        helper = std::thread([&] { second = mapAndTouch(middle, end, page); });
    } catch (const std::system_error&) {
        return mapAndTouch(from, end, page);  // no thread to be had: one does it all
    }
    const bool first = mapAndTouch(from, middle, page);
    helper.join();
    return first && second;
}

bool mapIn(const QImage& image) {
    return mapIn(image.constBits(), static_cast<std::size_t>(image.sizeInBytes()));
}

}  // namespace bm::qt
