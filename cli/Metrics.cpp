#include "cli/Metrics.h"

#include "util/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace cli {

void Exposition::declare(const std::string& name, const std::string& help, Type type) {
    if (find(name) != nullptr)
        return;
    families_.push_back(Family{name, help, type, {}});
}

Exposition::Family* Exposition::find(const std::string& name) {
    for (Family& f : families_)
        if (f.name == name)
            return &f;
    return nullptr;
}

void Exposition::add(const std::string& name, const Labels& labels, double value) {
    Family* f = find(name);
    if (f == nullptr)
        throw std::logic_error("metric " + name + " was not declared");
    f->samples.push_back(Sample{labels, value});
}

std::string Exposition::escapeLabelValue(const std::string& value) {
    std::string clean = utf8Clean(value);
    std::string out;
    out.reserve(clean.size());
    for (char c : clean) {
        switch (c) {
        case '\\':
            out += "\\\\";
            break;
        case '"':
            out += "\\\"";
            break;
        case '\n':
            out += "\\n";
            break;
        default:
            out += c;
            break;
        }
    }
    return out;
}

std::string Exposition::escapeHelp(const std::string& help) {
    std::string clean = utf8Clean(help);
    std::string out;
    for (char c : clean) {
        if (c == '\\')
            out += "\\\\";
        else if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out;
}

std::string Exposition::formatValue(double value) {
    if (std::isnan(value))
        return "NaN";
    if (std::isinf(value))
        return value > 0 ? "+Inf" : "-Inf";
    char buf[40];
    // Integers up to 2^53 are exact in a double; print them whole.
    if (value == std::floor(value) && std::fabs(value) < 9007199254740992.0)
        std::snprintf(buf, sizeof buf, "%.0f", value);
    else
        std::snprintf(buf, sizeof buf, "%.9g", value);
    return buf;
}

std::string Exposition::render() const {
    std::string out;
    for (const Family& f : families_) {
        if (f.samples.empty())
            continue;
        out += "# HELP " + f.name + " " + escapeHelp(f.help) + "\n";
        out += "# TYPE " + f.name + (f.type == Counter ? " counter\n" : " gauge\n");
        for (const Sample& s : f.samples) {
            out += f.name;
            if (!s.labels.empty()) {
                out += '{';
                bool first = true;
                for (const auto& l : s.labels) {
                    if (!first)
                        out += ',';
                    first = false;
                    out += l.first + "=\"" + escapeLabelValue(l.second) + "\"";
                }
                out += '}';
            }
            out += ' ' + formatValue(s.value) + '\n';
        }
    }
    return out;
}

std::string utf8Clean(const std::string& bytes) {
    static const char kReplacement[] = "\xEF\xBF\xBD";
    std::string out;
    out.reserve(bytes.size());
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::size_t n = bytes.size();
    std::size_t i = 0;
    while (i < n) {
        unsigned char c = p[i];
        if (c < 0x80) {
            if ((c < 0x20 && c != '\n') || c == 0x7F)
                out += kReplacement;
            else
                out += static_cast<char>(c);
            ++i;
            continue;
        }
        // Length and smallest code point of the sequence this byte starts.
        std::size_t len = 0;
        unsigned long cp = 0, min = 0;
        if (c >= 0xC2 && c <= 0xDF) {
            len = 2, cp = c & 0x1F, min = 0x80;
        } else if (c >= 0xE0 && c <= 0xEF) {
            len = 3, cp = c & 0x0F, min = 0x800;
        } else if (c >= 0xF0 && c <= 0xF4) {
            len = 4, cp = c & 0x07, min = 0x10000;
        }
        bool ok = len != 0 && i + len <= n;
        for (std::size_t k = 1; ok && k < len; ++k) {
            if ((p[i + k] & 0xC0) != 0x80)
                ok = false;
            else
                cp = (cp << 6) | (p[i + k] & 0x3F);
        }
        // No overlong forms, no surrogates, nothing past U+10FFFF; C1
        // controls are replaced like the C0 ones.
        if (ok && (cp < min || (cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF || cp < 0xA0))
            ok = false;
        if (!ok) {
            out += kReplacement;
            ++i;
            continue;
        }
        out.append(bytes, i, len);
        i += len;
    }
    return out;
}

std::string writeFileAtomically(const std::string& path, const std::string& text) {
    if (path.empty())
        return "no file name";
    if (path.back() == '/')
        return path + " names a folder, not a file";
    try {
        // The collector runs as another user and reads only *.prom files: the
        // file is world-readable (it holds no secret), and the temporary file's
        // leading dot and ".tmp" suffix keep it out of the collector's sight.
        kvi::files::AtomicFile f(path, 0644);
        f.write(text);
        f.commit();
    } catch (const kvi::files::FileError& e) {
        return e.what();
    }
    return "";
}

} // namespace cli
