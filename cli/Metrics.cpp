#include "cli/Metrics.h"

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

namespace {

std::string errnoText(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

bool writeAll(int fd, const std::string& text) {
    const char* p = text.data();
    std::size_t left = text.size();
    while (left > 0) {
        ssize_t n = ::write(fd, p, left);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        p += n;
        left -= static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace

std::string writeFileAtomically(const std::string& path, const std::string& text) {
    if (path.empty())
        return "no file name";
    std::string dir = ".";
    std::string base = path;
    std::size_t slash = path.rfind('/');
    if (slash != std::string::npos) {
        dir = slash == 0 ? "/" : path.substr(0, slash);
        base = path.substr(slash + 1);
    }
    if (base.empty())
        return path + " names a folder, not a file";
    // The collector reads only *.prom files, so a leading dot and a suffix
    // after ".prom" keep the half-written file out of its sight.
    std::string tmpl = (dir == "/" ? std::string("/") : dir + "/") + "." + base + ".XXXXXX";
    std::vector<char> name(tmpl.begin(), tmpl.end());
    name.push_back('\0');
    int fd = ::mkstemp(name.data());
    if (fd < 0)
        return errnoText("cannot create a temporary file in " + dir);
    std::string tmp(name.data());
    auto fail = [&](const std::string& what) {
        std::string why = errnoText(what);
        if (fd >= 0)
            ::close(fd);
        ::unlink(tmp.c_str());
        return why;
    };
    if (::fchmod(fd, 0644) != 0)
        return fail("cannot set the mode of " + tmp);
    if (!writeAll(fd, text))
        return fail("cannot write " + tmp);
    if (::fsync(fd) != 0)
        return fail("cannot sync " + tmp);
    if (::close(fd) != 0) {
        fd = -1;
        return fail("cannot close " + tmp);
    }
    fd = -1;
    if (::rename(tmp.c_str(), path.c_str()) != 0)
        return fail("cannot rename " + tmp + " to " + path);
    // The rename itself is durable only once the folder is synced.
    int dfd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dfd >= 0) {
        ::fsync(dfd);
        ::close(dfd);
    }
    return "";
}

} // namespace cli
