#pragma once
// Lower-case hex text of byte strings, as the capture files hold them.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kvi {

std::string toHex(const std::uint8_t* bytes, std::size_t size);
// Parses an even-length hex text (either case). Returns false on anything else.
bool fromHex(const std::string& text, std::vector<std::uint8_t>& out);

} // namespace kvi
