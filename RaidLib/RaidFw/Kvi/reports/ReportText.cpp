// Helpers shared by the report sections (see ReportText.h).
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

namespace kvi {
namespace reports {

std::string fieldText(const void* field, std::size_t width) {
    const char* text = static_cast<const char*>(field);
    const void* nul = std::memchr(text, 0, width);
    const std::size_t length =
        nul != nullptr ? static_cast<std::size_t>(static_cast<const char*>(nul) - text) : width;
    return std::string(text, length);
}

std::string format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    va_list again;
    va_copy(again, args);
    const int needed = std::vsnprintf(nullptr, 0, fmt, args);
    va_end(args);
    std::string out;
    if (needed > 0) {
        std::vector<char> buffer(static_cast<std::size_t>(needed) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), fmt, again);
        out.assign(buffer.data(), static_cast<std::size_t>(needed));
    }
    va_end(again);
    return out;
}

bool localTime(std::int64_t t, std::tm* out) {
    const std::time_t value = static_cast<std::time_t>(t);
    std::tm tm{};
    if (localtime_r(&value, &tm) == nullptr) {
        return false;
    }
    *out = tm;
    return true;
}

std::string dateTimeComma(const std::tm& tm) {
    return format("%02d/%02d/%02d, %02d:%02d:%02d", tm.tm_mon + 1, tm.tm_mday, tm.tm_year + 1900,
                  tm.tm_hour, tm.tm_min, tm.tm_sec);
}

std::string dateTimePlain(const std::tm& tm) {
    return format("%02d/%02d/%02d %02d:%02d:%02d", tm.tm_mon + 1, tm.tm_mday, tm.tm_year + 1900,
                  tm.tm_hour, tm.tm_min, tm.tm_sec);
}

std::string dateHourText(const std::tm& tm) {
    return format("%02d/%02d/%02d, %02d:00:00", tm.tm_mon + 1, tm.tm_mday, tm.tm_year + 1900,
                  tm.tm_hour);
}

std::string mfcDate(const KV_MFC_DATE& date) {
    return format("%02d/%02d/%02d", static_cast<int>(date.month), static_cast<int>(date.day),
                  static_cast<int>(date.year));
}

std::string firmwareTimeText(const std::function<std::int64_t()>& epoch,
                             const std::function<int()>& dstShift, std::uint32_t seconds,
                             DateForm form) {
    std::tm tm{};
    if (!localTime(epoch() + seconds, &tm)) {
        return "NA";
    }
    if (tm.tm_isdst == 1) {
        const std::int64_t shifted = static_cast<std::int64_t>(seconds) + epoch() - dstShift();
        if (!localTime(shifted, &tm)) {
            return "NA";
        }
    }
    return form == DateForm::Comma ? dateTimeComma(tm) : dateHourText(tm);
}

const char* coercionText(unsigned int mode) {
    static const char* const texts[] = {"none", "128MB", "1GB"};
    return codeText(mode, texts, "none");
}

const char* spinDownText(unsigned int mode) {
    static const char* const texts[] = {"None", "Internal Only", "external only", "all"};
    return codeText(mode, texts, "None");
}

std::string personalityText(std::uint8_t bitmap, int oem, const char* oem2Text) {
    std::string text;
    for (unsigned int bit = 1; bit <= 128; bit <<= 1) {
        if ((bitmap & bit) == 0) {
            continue;
        }
        switch (bit) {
        case 1:
            text += "RAID-Mode ";
            break;
        case 2:
            text += "HBA-Mode ";
            break;
        case 4:
            text += "SDS-Mode ";
            break;
        case 8:
            text += oem == 2 ? oem2Text : "JBOD-Mode ";
            break;
        default:
            break; // bits 16 to 128 name no personality
        }
    }
    return text;
}

const char* componentLabel(const char* name) {
    struct Row {
        const char* tag;
        std::size_t compared;
        const char* label;
    };
    static const Row kRows[] = {
        {"APP", 3, "Firmware Version"},    {"BIOS", 4, "Bios Version"},
        {"BTBL", 4, "Boot Block Version"}, {"NVDT", 4, "NVDATA Version"},
        {"BOOT", 4, "Bootloader Version"}, {"BCON", 4, "WebBIOS Version"},
        {"CTLR", 4, "Ctrl-R Version"},     {"CTLM", 4, "Ctrl-M Version"},
        {"MPT1", 4, "MPT Version"},        {"PCLI", 4, "Preboot CLI Version"},
        {"HIIM", 4, "HII Version"},        {"SBR", 3, "SBR Version"},
        {"PSOC", 4, "PSOC Version"},       {"PBLP", 4, "PSOC Version"},
        {"CBB", 3, "CBB Version"},         {"HIIA", 4, "HIIA Version"},
    };
    for (const Row& row : kRows) {
        // Component names are 8-byte fields; no tag is longer than 4.
        if (std::strncmp(name, row.tag, row.compared) == 0) {
            return row.label;
        }
    }
    return nullptr;
}

std::uint32_t ctrlInfoComponentLimit(std::size_t arrayOffset, std::uint32_t count) {
    const std::size_t room = (sizeof(KV_CTRL_INFO) - arrayOffset) / sizeof(KV_FLASH_COMP_INFO);
    return count < room ? count : static_cast<std::uint32_t>(room);
}

const KV_FLASH_COMP_INFO* ctrlInfoComponent(const KV_CTRL_INFO& info, std::size_t arrayOffset,
                                            std::uint32_t i) {
    if (i >= ctrlInfoComponentLimit(arrayOffset, i + 1)) {
        return nullptr;
    }
    const unsigned char* base = reinterpret_cast<const unsigned char*>(&info);
    return reinterpret_cast<const KV_FLASH_COMP_INFO*>(base + arrayOffset +
                                                       i * sizeof(KV_FLASH_COMP_INFO));
}

const char* raidLevelName(unsigned char level) {
    switch (level) {
    case 0:
        return "RAID0";
    case 1:
        return "RAID1";
    case 5:
        return "RAID5";
    case 6:
        return "RAID6";
    case 17:
        return "RAIDEC";
    case 32:
        return "RAID10";
    case 33:
        return "RAID50";
    case 34:
        return "RAID60";
    case 35:
        return "RAID1E";
    case 36:
        return "RAID00";
    default:
        return nullptr;
    }
}

} // namespace reports
} // namespace kvi
