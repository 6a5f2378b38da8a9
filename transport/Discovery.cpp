#include "transport/Discovery.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "firmware/kvistat.h"
#include "util/Files.h"

namespace fs = std::filesystem;

namespace kvi {

namespace {

// The first line of a sysfs attribute, without trailing blanks; "" when unreadable.
std::string readAttribute(const fs::path& path) {
    std::string line;
    try {
        line = files::readFile(path.string(), files::Input::Attribute);
    } catch (const files::FileError&) {
        return {};
    }
    line = line.substr(0, line.find('\n'));
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())))
        line.pop_back();
    return line;
}

bool parseHex(const std::string& text, std::uint32_t& out, std::size_t maxDigits) {
    if (text.empty() || text.size() > maxDigits)
        return false;
    std::uint32_t value = 0;
    for (char c : text) {
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return false;
        value = value * 16 + static_cast<std::uint32_t>(
                                 std::isdigit(static_cast<unsigned char>(c))
                                     ? c - '0'
                                     : std::tolower(static_cast<unsigned char>(c)) - 'a' + 10);
    }
    out = value;
    return true;
}

// "hostN" -> N.
bool hostNumber(const std::string& name, unsigned& out) {
    if (name.size() <= 4 || name.compare(0, 4, "host") != 0 || name.size() > 4 + 9)
        return false;
    unsigned value = 0;
    for (std::size_t i = 4; i < name.size(); ++i) {
        if (!std::isdigit(static_cast<unsigned char>(name[i])))
            return false;
        value = value * 10 + static_cast<unsigned>(name[i] - '0');
    }
    out = value;
    return true;
}

// The PCI function a host sits on: resolve the host's `device` link (or the
// host entry itself) and walk upward to the first PCI function directory.
bool findPciFunction(const fs::path& hostEntry, fs::path& pciDir, PciLocation& pci) {
    std::error_code ec;
    fs::path start = fs::canonical(hostEntry / "device", ec);
    if (ec) {
        ec.clear();
        start = fs::canonical(hostEntry, ec);
        if (ec)
            return false;
    }
    for (fs::path dir = start; !dir.empty(); dir = dir.parent_path()) {
        if (parsePciName(dir.filename().string(), pci)) {
            pciDir = dir;
            return true;
        }
        if (dir == dir.root_path() || dir.parent_path() == dir)
            break;
    }
    return false;
}

} // namespace

bool parsePciName(const std::string& text, PciLocation& out) {
    // dddd:bb:dd.f
    std::size_t c1 = text.find(':');
    if (c1 == std::string::npos)
        return false;
    std::size_t c2 = text.find(':', c1 + 1);
    if (c2 == std::string::npos)
        return false;
    std::size_t dot = text.find('.', c2 + 1);
    if (dot == std::string::npos)
        return false;
    std::uint32_t domain = 0, bus = 0, device = 0, function = 0;
    if (c1 < 4 || !parseHex(text.substr(0, c1), domain, 8) || c2 - c1 - 1 != 2 ||
        !parseHex(text.substr(c1 + 1, 2), bus, 2) || dot - c2 - 1 != 2 ||
        !parseHex(text.substr(c2 + 1, 2), device, 2) || text.size() - dot - 1 != 1 ||
        !parseHex(text.substr(dot + 1), function, 1))
        return false;
    if (device > 0x1F || function > 7)
        return false;
    // linkWidth is not part of the name; it stays as it is.
    out.domain = domain;
    out.bus = bus;
    out.device = static_cast<std::uint8_t>(device);
    out.function = static_cast<std::uint8_t>(function);
    return true;
}

std::vector<ScsiHost> listScsiHosts(const std::string& sysfsRoot) {
    std::vector<ScsiHost> hosts;
    const fs::path classDir = fs::path(sysfsRoot) / "class" / "scsi_host";
    std::error_code ec;
    fs::directory_iterator it(classDir, ec), end;
    if (ec)
        return hosts;
    for (; it != end; it.increment(ec)) {
        if (ec)
            break;
        ScsiHost host;
        host.name = it->path().filename().string();
        if (!hostNumber(host.name, host.number))
            continue;
        host.driverName = readAttribute(it->path() / "proc_name");
        if (!host.driverName.empty() && host.driverName.find('/') == std::string::npos &&
            host.driverName != "." && host.driverName != "..")
            host.driverVersion =
                readAttribute(fs::path(sysfsRoot) / "module" / host.driverName / "version");
        fs::path pciDir;
        if (findPciFunction(it->path(), pciDir, host.pci)) {
            host.hasPci = true;
            host.pciName = pciDir.filename().string();
            std::string width = readAttribute(pciDir / "max_link_width");
            char* endp = nullptr;
            unsigned long value = width.empty() ? 0 : std::strtoul(width.c_str(), &endp, 10);
            host.pci.linkWidth = (endp && *endp == '\0' && value <= 0xFFFFFFFFul)
                                     ? static_cast<std::uint32_t>(value)
                                     : 0;
        }
        hosts.push_back(std::move(host));
    }
    std::sort(hosts.begin(), hosts.end(),
              [](const ScsiHost& a, const ScsiHost& b) { return a.number < b.number; });
    return hosts;
}

namespace {

// The symbolic name of the errnos a probe meets, else "errno N".
std::string errnoName(int err) {
    static const std::pair<int, const char*> names[] = {
        {EPERM, "EPERM"},         {ENOENT, "ENOENT"},
        {EINTR, "EINTR"},         {EIO, "EIO"},
        {ENXIO, "ENXIO"},         {EBADF, "EBADF"},
        {EAGAIN, "EAGAIN"},       {ENOMEM, "ENOMEM"},
        {EACCES, "EACCES"},       {EFAULT, "EFAULT"},
        {EBUSY, "EBUSY"},         {ENODEV, "ENODEV"},
        {EINVAL, "EINVAL"},       {ENOTTY, "ENOTTY"},
        {ENOSYS, "ENOSYS"},       {EOPNOTSUPP, "EOPNOTSUPP"},
        {ETIMEDOUT, "ETIMEDOUT"},
    };
    for (const auto& n : names)
        if (n.first == err)
            return n.second;
    return "errno " + std::to_string(err);
}

} // namespace

std::string probeFailureText(const ProbeResult& answer) {
    if (answer.status > 0)
        return kviStatusName(answer.status);
    if (answer.status == 0)
        return "answered";
    const std::string err = answer.error != 0 ? errnoName(answer.error) : std::string();
    switch (answer.fault) {
    case TransportFault::DriverRejected:
        return err.empty() ? "driver rejected the request" : "driver rejected " + err;
    case TransportFault::Timeout:
        return "timeout";
    case TransportFault::NotController:
        return err.empty() ? "not a controller of the driver"
                           : "not a controller of the driver (" + err + ")";
    default:
        if (!err.empty())
            return "failed with " + err;
        return answer.message.empty() ? "failed" : answer.message;
    }
}

Discovery discoverControllers(const std::string& sysfsRoot, const ControllerProbe& probe) {
    Discovery result;
    for (ScsiHost& host : listScsiHosts(sysfsRoot)) {
        ProbeResult answer =
            probe ? probe(host) : ProbeResult{-1, TransportFault::Other, "no probe"};
        if (answer.status == 0) {
            result.controllers.push_back(std::move(host));
            continue;
        }
        if (answer.fault == TransportFault::NoDevice ||
            answer.fault == TransportFault::PermissionDenied) {
            result.fault = answer.fault;
            result.error = answer.message;
            result.controllers.clear();
            return result;
        }
        result.others.push_back(RejectedHost{std::move(host), std::move(answer)});
    }
    return result;
}

} // namespace kvi
