#include "platform/qt/pages.h"

#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

namespace bm::qt {

bool mapIn(const QImage& image) {
#ifdef MADV_POPULATE_WRITE
    static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto at = reinterpret_cast<std::uintptr_t>(image.constBits());
    const std::uintptr_t begin = at / page * page;
    const std::uintptr_t end = at + static_cast<std::uintptr_t>(image.sizeInBytes());
    return at && end > begin &&
           madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE) == 0;
#else
    (void)image;
    return false;
#endif
}

}  // namespace bm::qt
