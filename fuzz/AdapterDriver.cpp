#include "fuzz/AdapterDriver.h"

#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "RaidLib/RaidFw/AdpData.h"
#include "RaidLib/RaidFw/Elements.h"
#include "RaidLib/RaidFw/ReportSections.h"
#include "firmware/kv.h"
#include "fuzz/FuzzBackend.h"
#include "util/ArList.h"
#include "json/JsonWriter.h"
#include "json/TextWriter.h"
#include "json/elements.h"

namespace kvifuzz {
namespace {

// What one call needs to know beyond its parameter types.
struct Call {
    FuzzedDataProvider& in;
    std::size_t byteBuffer = 1; // bytes behind a plain unsigned char* / char* parameter
    bool handedOutOwned = true; // a result stored through T** belongs to the caller
};

// Operations whose plain byte pointer is a buffer, with the size the
// interface states for it.
struct BufferRule {
    const char* name;
    std::size_t bytes;
};
const BufferRule kBuffers[] = {
    {"getlocaleFwVersion", 32},
    {"getAllLaneConnectionInfo", 392},
    {"getLaneConnectionInfo", 16}, // one lane entry
    {"getAEC", 32768},
};

// Operations that hand out a pointer into the object itself (not freed).
const char* const kBorrowed[] = {"getEventLogInfo", "getBatteryDeviceName"};

template <class T> T pickValue(FuzzedDataProvider& in) {
    if constexpr (std::is_same<T, bool>::value) {
        return in.ConsumeBool();
    } else if constexpr (std::is_floating_point<T>::value) {
        return in.ConsumeFloatingPoint<T>();
    } else {
        return pickArgument<T>(in);
    }
}

template <class T> constexpr bool isByte() {
    return std::is_same<T, char>::value || std::is_same<T, unsigned char>::value;
}

// ---- one argument per parameter type ----
// A parameter type without a specialization does not compile: a new
// signature must be taught here (or called explicitly below).
template <class T, class = void> struct Arg;

// Integers and flags by value.
template <class T> struct Arg<T, std::enable_if_t<std::is_arithmetic<T>::value>> {
    explicit Arg(Call& c) : v(pickValue<T>(c.in)) {}
    T get() { return v; }
    T v;
};

// A pointer to one number: an out-value, or a value a setter reads.
template <class T> struct Arg<T*, std::enable_if_t<std::is_arithmetic<T>::value && !isByte<T>()>> {
    explicit Arg(Call& c) : p(new T(pickValue<T>(c.in))) {}
    T* get() { return p.get(); }
    std::unique_ptr<T> p;
};

// A byte pointer: one byte, or a buffer of exactly the stated size.
template <class T> struct Arg<T*, std::enable_if_t<isByte<T>()>> {
    explicit Arg(Call& c) : n(c.byteBuffer), p(new T[c.byteBuffer]) {
        std::memset(p.get(), 0, n);
        p[0] = static_cast<T>(c.in.ConsumeIntegral<unsigned char>());
    }
    T* get() { return p.get(); }
    std::size_t n;
    std::unique_ptr<T[]> p;
};

// A record the operation fills or reads (firmware records, tm).
template <class T>
struct Arg<T*, std::enable_if_t<std::is_class<T>::value && std::is_trivially_copyable<T>::value>> {
    explicit Arg(Call& c) : p(new T()) {
        const std::vector<unsigned char> bytes = c.in.ConsumeBytes<unsigned char>(sizeof(T));
        if (!bytes.empty()) {
            std::memcpy(static_cast<void*>(p.get()), bytes.data(), bytes.size());
        }
    }
    T* get() { return p.get(); }
    std::unique_ptr<T> p;
};

// A result handed back through T**: released as the interface says (lists,
// texts and identifiers with delete, byte blocks with delete[]), unless it
// points into the object.
template <class T> struct Arg<T**> {
    explicit Arg(Call& c) : owned(c.handedOutOwned) {}
    Arg(Arg&& other) noexcept : p(other.p), owned(other.owned) { other.p = nullptr; }
    Arg(const Arg&) = delete;
    ~Arg() {
        if (!owned) {
            return;
        }
        if constexpr (std::is_same<T, unsigned char>::value) {
            delete[] p;
        } else {
            delete p;
        }
    }
    T** get() { return &p; }
    T* p = nullptr;
    bool owned;
};

// A list the operation appends to.
template <class E> struct Arg<ArrayList<E>*> {
    explicit Arg(Call&) : list(new ArrayList<E>()) {}
    ArrayList<E>* get() { return list.get(); }
    std::unique_ptr<ArrayList<E>> list;
};

// A list the operation reads (excluded drives, target ids).
template <class E> struct Arg<const ArrayList<E>*> {
    explicit Arg(Call& c) : list(new ArrayList<E>()) {
        const int n = c.in.ConsumeIntegralInRange<int>(0, 12);
        for (int i = 0; i < n; ++i) {
            list->add(pickArgument<E>(c.in));
        }
    }
    const ArrayList<E>* get() { return list.get(); }
    std::unique_ptr<ArrayList<E>> list;
};

// A start time: mostly a plausible local time, sometimes one outside the
// firmware epoch's 32-bit range or with fields out of range.
template <> struct Arg<const std::tm*> {
    explicit Arg(Call& c) : t(new std::tm()) {
        t->tm_year = c.in.ConsumeIntegralInRange<int>(95, 140);
        if (c.in.ConsumeIntegralInRange<int>(0, 15) == 0) {
            t->tm_year = c.in.ConsumeIntegralInRange<int>(-1000, 1000);
        }
        t->tm_mon = c.in.ConsumeIntegralInRange<int>(0, 11);
        t->tm_mday = c.in.ConsumeIntegralInRange<int>(1, 31);
        t->tm_hour = c.in.ConsumeIntegralInRange<int>(0, 24);
        t->tm_min = c.in.ConsumeIntegralInRange<int>(0, 59);
        t->tm_sec = c.in.ConsumeIntegralInRange<int>(0, 60);
        t->tm_isdst = c.in.ConsumeIntegralInRange<int>(-1, 1);
    }
    const std::tm* get() { return t.get(); }
    std::unique_ptr<std::tm> t;
};

template <> struct Arg<std::string&> {
    explicit Arg(Call& c) : s(c.in.ConsumeRandomLengthString(80)) {}
    std::string& get() { return s; }
    std::string s;
};

template <> struct Arg<bool&> {
    explicit Arg(Call& c) : b(c.in.ConsumeBool()) {}
    bool& get() { return b; }
    bool b;
};

template <> struct Arg<json::Object&> {
    explicit Arg(Call&) {}
    json::Object& get() { return o; }
    json::Object o;
};

template <> struct Arg<json::Array&> {
    explicit Arg(Call&) {}
    json::Array& get() { return a; }
    json::Array a;
};

template <> struct Arg<json::Array*> {
    explicit Arg(Call&) : a(new json::Array()) {}
    json::Array* get() { return a.get(); }
    std::unique_ptr<json::Array> a;
};

// ---- calls ----
template <class R, class... A>
void invoke(AdapterData& adapter, R (AdapterData::*fn)(A...), Call& c) {
    // Braced initialisation reads the arguments from the input left to right.
    std::tuple<Arg<A>...> args{Arg<A>(c)...};
    std::apply([&](auto&... arg) { (void)(adapter.*fn)(arg.get()...); }, args);
}

std::size_t pickLength(FuzzedDataProvider& in, std::size_t record) {
    switch (in.ConsumeIntegralInRange<int>(0, 3)) {
    case 0:
        return 0;
    case 1:
        return 8 + record * in.ConsumeIntegralInRange<std::size_t>(0, 8);
    case 2:
        return in.ConsumeIntegralInRange<std::size_t>(0, 64);
    default:
        return in.ConsumeIntegralInRange<std::size_t>(0, 65536);
    }
}

// Buffer and length pairs: the buffer holds exactly `length` bytes.
void invoke(AdapterData& adapter,
            int (AdapterData::*fn)(unsigned int, char*, unsigned int, unsigned int), Call& c) {
    const auto seqNum = c.in.ConsumeIntegral<unsigned int>();
    const std::size_t length = pickLength(c.in, 256);
    const auto filter = c.in.ConsumeIntegral<unsigned int>();
    std::unique_ptr<char[]> buffer(new char[length]());
    (void)(adapter.*fn)(seqNum, buffer.get(), static_cast<unsigned int>(length), filter);
}

void invoke(AdapterData& adapter, int (AdapterData::*fn)(unsigned char*, unsigned short), Call& c) {
    const std::size_t length = pickLength(c.in, 64) & 0xFFFF;
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[length]());
    (void)(adapter.*fn)(buffer.get(), static_cast<unsigned short>(length));
}

void invoke(AdapterData& adapter, int (AdapterData::*fn)(const unsigned char*, unsigned int),
            Call& c) {
    const std::vector<unsigned char> data = c.in.ConsumeBytes<unsigned char>(pickLength(c.in, 64));
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[data.size()]);
    if (!data.empty()) {
        std::memcpy(buffer.get(), data.data(), data.size());
    }
    (void)(adapter.*fn)(buffer.get(), static_cast<unsigned int>(data.size()));
}

void invoke(AdapterData& adapter,
            int (AdapterData::*fn)(unsigned char, const unsigned char*, unsigned int), Call& c) {
    const auto page = pickArgument<unsigned char>(c.in);
    const std::vector<unsigned char> data = c.in.ConsumeBytes<unsigned char>(pickLength(c.in, 64));
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[data.size()]);
    if (!data.empty()) {
        std::memcpy(buffer.get(), data.data(), data.size());
    }
    (void)(adapter.*fn)(page, buffer.get(), static_cast<unsigned int>(data.size()));
}

using CallFn = void (*)(AdapterData&, Call&);
struct Operation {
    const char* name;
    CallFn call;
};

#define KVI_FUZZ_OP(n) {#n, [](AdapterData& a, Call& c) { invoke(a, &AdapterData::n, c); }},
#define KVI_FUZZ_OVERLOADED(n, count)

const Operation kOperations[] = {
#include "fuzz_operations.inc"
    // The overloaded operations, one entry per form.
    {"setBootVd(VirtualDisk*)",
     [](AdapterData& a, Call& c) {
         VirtualDisk vd(pickArgument<unsigned short>(c.in));
         (void)a.setBootVd(&vd);
     }},
    {"setBootVd(PhysicalDevice*)",
     [](AdapterData& a, Call& c) {
         PhysicalDevice pd(pickArgument<unsigned short>(c.in));
         (void)a.setBootVd(&pd);
     }},
    {"setPersonality(unsigned short)",
     [](AdapterData& a, Call& c) { (void)a.setPersonality(pickArgument<unsigned short>(c.in)); }},
    {"setPersonality(unsigned short, unsigned short)",
     [](AdapterData& a, Call& c) {
         const auto personality = pickArgument<unsigned short>(c.in);
         (void)a.setPersonality(personality, pickArgument<unsigned short>(c.in));
     }},
};

#undef KVI_FUZZ_OP
#undef KVI_FUZZ_OVERLOADED

// Every overloaded name of the interface must have its forms listed above.
constexpr bool sameText(const char* a, const char* b) {
    return *a == *b && (*a == '\0' || sameText(a + 1, b + 1));
}
constexpr bool overloadCalled(const char* name) {
    return sameText(name, "setBootVd") || sameText(name, "setPersonality");
}
#define KVI_FUZZ_OP(n)
#define KVI_FUZZ_OVERLOADED(n, count)                                                              \
    static_assert(overloadCalled(#n), "call every form of " #n " in fuzz/AdapterDriver.cpp");
#include "fuzz_operations.inc"
#undef KVI_FUZZ_OP
#undef KVI_FUZZ_OVERLOADED

constexpr std::size_t kOperationCount = sizeof kOperations / sizeof kOperations[0];

} // namespace

std::size_t operationCount() {
    return kOperationCount;
}

const char* operationName(std::size_t index) {
    return kOperations[index % kOperationCount].name;
}

void callOperation(AdapterData& adapter, std::size_t index, FuzzedDataProvider& in) {
    const Operation& op = kOperations[index % kOperationCount];
    Call call{in};
    for (const BufferRule& rule : kBuffers) {
        if (std::strcmp(rule.name, op.name) == 0) {
            call.byteBuffer = rule.bytes;
        }
    }
    for (const char* name : kBorrowed) {
        if (std::strcmp(name, op.name) == 0) {
            call.handedOutOwned = false;
        }
    }
    op.call(adapter, call);
}

void buildReports(AdapterData& adapter) {
    for (const ReportSection& report : kReportSections) {
        json::Object section;
        (void)(adapter.*report.build)(section);
        // A failed section keeps what it wrote; both renderings and the typed
        // values (which read the texts the firmware's bytes became) must cope.
        (void)json::TextWriter::ToString(section, report.title);
        (void)json::JsonWriter::ToString(section, json::JsonWriter::Compact);
        (void)kvi::reports::typedValues(*report.values, section);
    }
}

} // namespace kvifuzz
