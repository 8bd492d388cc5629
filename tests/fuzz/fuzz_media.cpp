// Fuzz target: the headers of picture and sound files, as the runtime probes them.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/errors.h"
#include "platform/files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    try {
        bm::PictureInfo info = bm::probePictureBytes(bytes);
        if (info.width <= 0 || info.height <= 0 || info.format.empty()) std::abort();
    } catch (const bm::RuntimeError& e) {
        if (e.number() != bm::err::kInvalidPicture) std::abort();
    }
    double seconds = bm::waveDurationBytes(bytes);
    if (!(seconds >= 0)) std::abort();
    return 0;
}
