#pragma once
// How a value read from the system's registry becomes the text the about box works with.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace bm {

// The size of the buffer a registry value is read into; a longer value cannot be read.
constexpr size_t kRegistryBufferSize = 1024;

// The text of a registry value of the given type whose bytes are `data` (as many as the registry
// reported). A closing zero byte is dropped. A text value (type 1) is its characters. A 32-bit
// number (type 4) has its bytes read from the last to the first, each written in hexadecimal
// without a leading zero, and those digits read as one hexadecimal number: the bytes 2, 1, 0, 0
// lose their closing zero and give the digits "012", that is "18". The digits are read as a
// 16-bit number up to four significant digits and as a 32-bit one up to eight, so "FFFF" gives
// "-1"; more raise error 6 (overflow). No digits at all leave the text "&h".
// Any other type gives no text (nullopt). An empty value raises error 5, as taking its last
// character does.
std::optional<std::string> registryValueText(int type, std::string_view data);

}  // namespace bm
