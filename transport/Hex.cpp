#include "transport/Hex.h"

namespace kvi {

std::string toHex(const std::uint8_t* bytes, std::size_t size) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(size * 2);
    for (std::size_t i = 0; i < size; ++i) {
        text.push_back(digits[bytes[i] >> 4]);
        text.push_back(digits[bytes[i] & 0x0F]);
    }
    return text;
}

static int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool fromHex(const std::string& text, std::vector<std::uint8_t>& out) {
    if (text.size() % 2 != 0)
        return false;
    std::vector<std::uint8_t> bytes(text.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        int hi = hexValue(text[2 * i]);
        int lo = hexValue(text[2 * i + 1]);
        if (hi < 0 || lo < 0)
            return false;
        bytes[i] = static_cast<std::uint8_t>(hi << 4 | lo);
    }
    out.swap(bytes);
    return true;
}

} // namespace kvi
