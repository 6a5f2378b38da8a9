// The converters of the section values tables (see Values.h): each kind reads
// the member a section wrote, as a number or as the report's text, and gives
// the typed value, null where the report shows none.
#include "RaidLib/RaidFw/Kvi/reports/Values.h"

#include <cctype>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "util/Iso8601.h"

namespace kvi {
namespace reports {

namespace {

// A conversion gives a value, nothing (the report shows no value), or finds a
// text that does not read as the row's kind.
enum class Read { Value, Absent, Unreadable };

bool isDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}
bool isAlnum(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

std::string trimmed(const std::string& s) {
    const std::size_t b = s.find_first_not_of(" \t");
    if (b == std::string::npos)
        return "";
    return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

std::string lower(std::string s) {
    for (char& c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

bool absentText(const std::string& t) {
    return t.empty() || t == "NA" || t == "N/A";
}

bool hasDigit(const std::string& t) {
    for (char c : t)
        if (isDigit(c))
            return true;
    return false;
}

json::UnknownElement unsignedValue(unsigned long long v) {
    return v <= static_cast<unsigned long long>(LONG_MAX)
               ? json::UnknownElement(json::Number(static_cast<long>(v)))
               : json::UnknownElement(json::UNumber(v));
}

// A number of the document (signed or not) times `unit`; false on overflow.
bool elementNumber(const json::UnknownElement& e, unsigned long long unit,
                   json::UnknownElement& out) {
    if (const json::Number* n = e.As<json::Number>()) {
        long v = 0;
        if (__builtin_mul_overflow(n->Value(), static_cast<long>(unit), &v))
            return false;
        out = json::Number(v);
        return true;
    }
    if (const json::UNumber* n = e.As<json::UNumber>()) {
        unsigned long long v = 0;
        if (__builtin_mul_overflow(n->Value(), unit, &v))
            return false;
        out = unsignedValue(v);
        return true;
    }
    return false;
}

// A decimal number with an optional fraction starting at t[at].
struct Decimal {
    unsigned long long whole = 0, fraction = 0, scale = 1;
    std::size_t end = 0;
};

bool readDecimal(const std::string& t, std::size_t at, Decimal& d) {
    std::size_t i = at;
    for (; i < t.size() && isDigit(t[i]); ++i)
        if (__builtin_mul_overflow(d.whole, 10ULL, &d.whole) ||
            __builtin_add_overflow(d.whole, static_cast<unsigned long long>(t[i] - '0'), &d.whole))
            return false;
    if (i + 1 < t.size() && t[i] == '.' && isDigit(t[i + 1])) {
        // Nine fraction digits are more than any report text carries.
        for (++i; i < t.size() && isDigit(t[i]); ++i)
            if (d.scale < 1000000000ULL) {
                d.fraction = d.fraction * 10 + static_cast<unsigned long long>(t[i] - '0');
                d.scale *= 10;
            }
    }
    d.end = i;
    return i > at;
}

// d * factor, the fraction truncated; false on overflow.
bool scaled(const Decimal& d, unsigned long long factor, unsigned long long& out) {
    unsigned long long whole = 0, part = 0;
    return !__builtin_mul_overflow(d.whole, factor, &whole) &&
           !__builtin_mul_overflow(d.fraction, factor, &part) &&
           !__builtin_add_overflow(whole, part / d.scale, &out);
}

struct Unit {
    const char* name;
    unsigned long long factor;
};

constexpr unsigned long long kTiB = 1024 * kGiB;
constexpr unsigned long long kPiB = 1024 * kTiB;
constexpr unsigned long long kEiB = 1024 * kPiB;

// Longer names first where one begins another ("sec" before "s").
const Unit kSizeUnits[] = {{"KB", kKiB}, {"MB", kMiB}, {"GB", kGiB}, {"TB", kTiB},
                           {"PB", kPiB}, {"EB", kEiB}, {"B", 1}};
const Unit kDurationUnits[] = {{"sec", 1},     {"s", 1},         {"min", kMinute},
                               {"hrs", kHour}, {"hours", kHour}, {"hour", kHour}};
const Unit kRateUnits[] = {{"GT/s", 1000000000ULL}, {"Gbps", 1000000000ULL}};

// The first number at a word boundary that one of `count` units follows
// (blanks between allowed), in base units; without one, the first number
// times `bare`, or nothing when bare numbers do not count (`bare` 0).
Read quantity(const std::string& t, const Unit* units, std::size_t count, unsigned long long bare,
              unsigned long long& out) {
    bool sawNumber = false;
    Decimal first;
    for (std::size_t i = 0; i < t.size(); ++i) {
        if (!isDigit(t[i]) || (i > 0 && (isAlnum(t[i - 1]) || t[i - 1] == '.')))
            continue;
        Decimal d;
        if (!readDecimal(t, i, d))
            return Read::Unreadable;
        if (!sawNumber) {
            first = d;
            sawNumber = true;
        }
        std::size_t j = d.end;
        while (j < t.size() && t[j] == ' ')
            ++j;
        for (std::size_t k = 0; k < count; ++k) {
            const Unit& u = units[k];
            const std::size_t len = std::strlen(u.name);
            if (t.compare(j, len, u.name) == 0 &&
                (j + len == t.size() || !std::isalpha(static_cast<unsigned char>(t[j + len]))))
                return scaled(d, u.factor, out) ? Read::Value : Read::Unreadable;
        }
        i = d.end;
    }
    if (!sawNumber)
        return hasDigit(t) ? Read::Unreadable : Read::Absent;
    if (bare == 0)
        return Read::Absent; // a code without its rate ("0x07 (Unrecognized Link Rate)")
    return scaled(first, bare, out) ? Read::Value : Read::Unreadable;
}

Read boolValue(const std::string& t, json::UnknownElement& out) {
    static const char* const kTrue[] = {"yes",     "on",        "present",  "enable",
                                        "enabled", "supported", "available"};
    static const char* const kFalse[] = {"no",       "off",           "absent",       "disable",
                                         "disabled", "not supported", "not available"};
    const std::string w = lower(t);
    for (const char* s : kTrue)
        if (w == s) {
            out = json::Boolean(true);
            return Read::Value;
        }
    for (const char* s : kFalse)
        if (w == s) {
            out = json::Boolean(false);
            return Read::Value;
        }
    return Read::Unreadable;
}

// "MM/DD/YYYY, HH:MM:SS" or "MM/DD/YYYY HH:MM:SS" as an instant of the local zone.
Read localTime(const std::string& t, std::time_t& out) {
    int mo = 0, d = 0, y = 0, h = 0, mi = 0, s = 0, n = 0;
    const bool comma = t.find(',') != std::string::npos;
    const int got =
        comma ? std::sscanf(t.c_str(), "%2d/%2d/%4d, %2d:%2d:%2d%n", &mo, &d, &y, &h, &mi, &s, &n)
              : std::sscanf(t.c_str(), "%2d/%2d/%4d %2d:%2d:%2d%n", &mo, &d, &y, &h, &mi, &s, &n);
    if (got != 6 || static_cast<std::size_t>(n) != t.size() || mo < 1 || mo > 12 || d < 1 ||
        d > 31 || h > 23 || mi > 59 || s > 60)
        return Read::Unreadable;
    out = localInstant(wallClock(y, mo, d, h, mi, s));
    return out == static_cast<std::time_t>(-1) ? Read::Unreadable : Read::Value;
}

Read dateValue(const std::string& t, json::UnknownElement& out) {
    int mo = 0, d = 0, y = 0, n = 0;
    if (std::sscanf(t.c_str(), "%2d/%2d/%3d%n", &mo, &d, &y, &n) != 3 ||
        static_cast<std::size_t>(n) != t.size() || mo < 0 || mo > 12 || d < 0 || d > 31 || y < 0)
        return Read::Unreadable;
    if (mo == 0 || d == 0)
        return Read::Absent; // a date never set
    char buf[32];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", 2000 + y, mo, d);
    out = json::String(buf);
    return Read::Value;
}

Read pciValue(const std::string& t, json::UnknownElement& out) {
    unsigned domain = 0, bus = 0, device = 0, function = 0;
    int n = 0;
    if (std::sscanf(t.c_str(), "%4x:%2x:%2x:%2x%n", &domain, &bus, &device, &function, &n) != 4 ||
        static_cast<std::size_t>(n) != t.size())
        return Read::Unreadable;
    char buf[24];
    std::snprintf(buf, sizeof buf, "%04x:%02x:%02x.%x", domain, bus, device, function);
    out = json::String(buf);
    return Read::Value;
}

Read hexValue(std::string t, json::UnknownElement& out) {
    if (t.size() > 1 && (t[0] == 'X' || t[0] == 'x'))
        t.erase(0, 1);
    else if (t.size() > 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X'))
        t.erase(0, 2);
    unsigned long long v = 0;
    std::size_t i = 0;
    for (; i < t.size() && i < 16 && std::isxdigit(static_cast<unsigned char>(t[i])); ++i)
        v = v * 16 + static_cast<unsigned long long>(
                         isDigit(t[i]) ? t[i] - '0'
                                       : std::tolower(static_cast<unsigned char>(t[i])) - 'a' + 10);
    if (i == 0)
        return hasDigit(t) ? Read::Unreadable : Read::Absent;
    out = unsignedValue(v);
    return Read::Value;
}

json::Array tokenList(const std::string& t) {
    json::Array a;
    if (t == "None")
        return a;
    std::size_t i = 0;
    while (i < t.size()) {
        const std::size_t b = t.find_first_not_of(" \t", i);
        if (b == std::string::npos)
            break;
        const std::size_t e = t.find_first_of(" \t", b);
        a.Insert(json::String(snakeToken(t.substr(b, e == std::string::npos ? e : e - b))));
        i = e == std::string::npos ? t.size() : e;
    }
    return a;
}

Read tokensOfArray(const json::Array& items, json::UnknownElement& out) {
    json::Array a;
    for (const json::UnknownElement& item : items) {
        const json::String* s = item.As<json::String>();
        if (const json::Object* row = item.As<json::Object>())
            if (row->Size() == 1)
                s = row->begin()->element.As<json::String>();
        if (s == nullptr)
            return Read::Unreadable;
        a.Insert(json::String(snakeToken(s->Value())));
    }
    out = a;
    return Read::Value;
}

class Typer {
public:
    explicit Typer(std::vector<std::string>* untyped) : untyped_(untyped) {}

    void section(const ValueTable& table, const json::Object& in, json::Object& out,
                 const std::string& path) {
        for (const json::Object::Member& m : in) {
            const ValueRow* row = find(table, m.name);
            ValueRow fallback{m.name.c_str(), nullptr, table.fallback};
            const std::string fallbackKey = snakeToken(m.name);
            if (row == nullptr && table.fallback != Kind::Skip) {
                fallback.key = fallbackKey.c_str();
                row = &fallback;
            }
            if (row == nullptr) {
                note(path + m.name);
                continue;
            }
            if (row->kind != Kind::Skip)
                put(*row, row->key, m.element, out, path + m.name);
        }
    }

private:
    static bool names(const char* alternatives, const std::string& name) {
        const char* p = alternatives;
        while (true) {
            const char* bar = std::strchr(p, '|');
            const std::size_t len =
                bar != nullptr ? static_cast<std::size_t>(bar - p) : std::strlen(p);
            if (name.size() == len && name.compare(0, len, p, len) == 0)
                return true;
            if (bar == nullptr)
                return false;
            p = bar + 1;
        }
    }

    static const ValueRow* find(const ValueTable& table, const std::string& name) {
        for (const ValueTable* t = &table; t != nullptr; t = t->next)
            for (std::size_t i = 0; i < t->count; ++i)
                if (names(t->rows[i].report, name))
                    return &t->rows[i];
        return nullptr;
    }

    void note(const std::string& what) {
        if (untyped_ != nullptr)
            untyped_->push_back(what);
    }

    // out[key] (and out[key_epoch_seconds] for a time) from one member.
    void put(const ValueRow& row, const std::string& key, const json::UnknownElement& e,
             json::Object& out, const std::string& path) {
        json::UnknownElement v; // null unless a value is read
        Read r = Read::Unreadable;
        const json::String* s = e.As<json::String>();
        const std::string text = s != nullptr ? trimmed(s->Value()) : std::string();
        const bool structured = row.kind == Kind::Object || row.kind == Kind::Table ||
                                row.kind == Kind::Pivot || row.kind == Kind::Tokens;
        if (s != nullptr && absentText(text) && !(structured && text.empty())) {
            r = Read::Absent;
        } else if (row.kind == Kind::LocalTime) {
            std::time_t t = 0;
            r = s != nullptr ? localTime(text, t) : Read::Unreadable;
            if (r == Read::Value) {
                out[key] = json::String(isoLocalTime(t));
                out[key + "_epoch_seconds"] = json::Number(static_cast<long>(t));
                return;
            }
        } else {
            r = convert(row, e, s != nullptr ? &text : nullptr, v, path);
        }
        if (r == Read::Unreadable)
            note(path);
        if (r != Read::Value)
            v = json::Null();
        out[key] = v;
        if (row.kind == Kind::LocalTime)
            out[key + "_epoch_seconds"] = json::Null();
    }

    Read convert(const ValueRow& row, const json::UnknownElement& e, const std::string* text,
                 json::UnknownElement& v, const std::string& path) {
        unsigned long long n = 0;
        switch (row.kind) {
        case Kind::Bool:
            return text != nullptr ? boolValue(*text, v) : Read::Unreadable;
        case Kind::Integer:
        case Kind::Size:
        case Kind::Duration:
        case Kind::Rate:
            if (text == nullptr)
                return elementNumber(e, row.unit, v) ? Read::Value : Read::Unreadable;
            {
                const Unit* units = nullptr;
                std::size_t count = 0;
                if (row.kind == Kind::Size) {
                    units = kSizeUnits;
                    count = sizeof kSizeUnits / sizeof kSizeUnits[0];
                } else if (row.kind == Kind::Duration) {
                    units = kDurationUnits;
                    count = sizeof kDurationUnits / sizeof kDurationUnits[0];
                } else if (row.kind == Kind::Rate) {
                    units = kRateUnits;
                    count = sizeof kRateUnits / sizeof kRateUnits[0];
                }
                Read r = quantity(*text, units, count, row.kind == Kind::Rate ? 0 : row.unit, n);
                // A size text whose unit is off counts `textUnit` per byte.
                if (r == Read::Value && row.kind == Kind::Size &&
                    __builtin_mul_overflow(n, row.textUnit, &n))
                    r = Read::Unreadable;
                if (r == Read::Value)
                    v = unsignedValue(n);
                return r;
            }
        case Kind::HexInteger:
            return text != nullptr ? hexValue(*text, v) : Read::Unreadable;
        case Kind::Date:
            return text != nullptr ? dateValue(*text, v) : Read::Unreadable;
        case Kind::Pci:
            return text != nullptr ? pciValue(*text, v) : Read::Unreadable;
        case Kind::Token:
        case Kind::Text:
            if (text == nullptr)
                return Read::Unreadable;
            v = json::String(row.kind == Kind::Token ? snakeToken(*text) : *text);
            return Read::Value;
        case Kind::Tokens:
            if (const json::Array* a = e.As<json::Array>())
                return tokensOfArray(*a, v);
            if (text == nullptr)
                return Read::Unreadable;
            v = tokenList(*text);
            return Read::Value;
        case Kind::Object:
            if (const json::Object* o = e.As<json::Object>()) {
                json::Object typed;
                section(*row.sub, *o, typed, path + "/");
                v = typed;
                return Read::Value;
            }
            return Read::Unreadable;
        case Kind::Table:
            return table(row, e, text != nullptr, v, path);
        case Kind::Pivot:
            return pivot(row, e, v, path);
        case Kind::LocalTime:
        case Kind::Skip:
            break;
        }
        return Read::Unreadable;
    }

    Read table(const ValueRow& row, const json::UnknownElement& e, bool isText,
               json::UnknownElement& v, const std::string& path) {
        json::Array rows;
        if (const json::Array* a = e.As<json::Array>()) {
            for (const json::UnknownElement& item : *a) {
                const json::Object* o = item.As<json::Object>();
                if (o == nullptr)
                    return Read::Unreadable;
                json::Object typed;
                section(*row.sub, *o, typed, path + "/");
                rows.Insert(typed);
            }
        } else if (!isText) {
            return Read::Unreadable;
        }
        v = rows;
        return Read::Value;
    }

    Read pivot(const ValueRow& row, const json::UnknownElement& e, json::UnknownElement& v,
               const std::string& path) {
        const json::Array* a = e.As<json::Array>();
        if (a == nullptr)
            return Read::Unreadable;
        json::Object byName;
        for (const json::UnknownElement& item : *a) {
            const json::Object* o = item.As<json::Object>();
            const json::String* name =
                o != nullptr && !o->Empty() ? o->begin()->element.As<json::String>() : nullptr;
            const ValueRow* named = name != nullptr ? find(*row.sub, name->Value()) : nullptr;
            if (named == nullptr) {
                note(path + "/" + (name != nullptr ? name->Value() : "?"));
                continue;
            }
            json::Object columns;
            bool first = true;
            for (const json::Object::Member& m : *o) {
                if (!first)
                    put(*named, snakeToken(m.name), m.element, columns,
                        path + "/" + name->Value() + "/" + m.name);
                first = false;
            }
            byName[named->key] = columns;
        }
        v = byName;
        return Read::Value;
    }

    std::vector<std::string>* untyped_;
};

} // namespace

std::string snakeToken(const std::string& text) {
    std::string out;
    bool gap = false;
    for (char c : text) {
        if (isAlnum(c)) {
            if (gap && !out.empty())
                out += '_';
            out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            gap = false;
        } else {
            gap = true;
        }
    }
    return out;
}

json::Object typedValues(const ValueTable& table, const json::Object& section,
                         std::vector<std::string>* untyped) {
    json::Object out;
    Typer(untyped).section(table, section, out, "");
    return out;
}

json::UnknownElement typedValue(Kind kind, const std::string& text) {
    const ValueRow row{"v", "v", kind};
    json::Object member;
    member["v"] = json::String(text);
    return *typedValues(ValueTable{&row, 1, Kind::Skip, nullptr}, member).Find("v");
}

} // namespace reports
} // namespace kvi
