#include "platform/qt/pages.h"

#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

namespace bm::qt {

bool mapIn(const void* at, std::size_t bytes) {
#ifdef MADV_POPULATE_WRITE
    static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto from = reinterpret_cast<std::uintptr_t>(at);
    const std::uintptr_t begin = from / page * page;
    const std::uintptr_t end = from + bytes;
    return from && end > begin &&
           madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE) == 0;
#else
    (void)at;
    (void)bytes;
    return false;
#endif
}

bool mapIn(const QImage& image) {
    return mapIn(image.constBits(), static_cast<std::size_t>(image.sizeInBytes()));
}

}  // namespace bm::qt
