#pragma once

#include <QImage>
#include <cstddef>

namespace bm::qt {

// Maps in the memory of a fresh image at once, before anything is drawn into it. Touching its
// pages one by one while drawing takes a page fault for each, several times the cost of asking
// for them all in one call (in a virtual machine a fault can cost over 10 microseconds). In a
// virtual machine the first write to each page mapped in still costs the host some work, so each
// page is written once here too (its byte written back unchanged: what the memory holds is kept),
// and a large image is shared out between two threads, whose faults overlap. Returns false when
// the kernel does not know the request: the pages then come as they are drawn.
bool mapIn(const QImage& image);
// The same for `bytes` of memory from `at`.
bool mapIn(const void* at, std::size_t bytes);

}  // namespace bm::qt
