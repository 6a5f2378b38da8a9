// How a run reports what went wrong: status names and texts, failures of a
// controller's operation, warnings and errors, on stderr and in the JSON
// envelope, with the exit status each sets.
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/Clock.h"
#include "cli/App.h"
#include "cli/Gate.h"
#include "cli/RunFiles.h"
#include "cli/Util.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/Provider.h"
#include "sim/Simulator.h"
#include "transport/Session.h"
#include "util/Cleanup.h"
#include "json/TextWriter.h"
#include <CLI/CLI.hpp>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <unistd.h>

namespace cli {

std::string App::statusName(int status) {
    if (status >= 0)
        return kviStatusName(status);
    switch (status) {
    case -1:
        return "refused";
    case -2:
        return "time_out_of_range";
    case kvi::kTransportFailed:
        return "transport_failed";
    case kvi::kReplayMismatch:
        return "replay_mismatch";
    case kvi::kUnsupported:
        return "unsupported_by_backend";
    default:
        return "local_" + std::to_string(-status);
    }
}

std::string App::statusText(Target& t, int status) const {
    std::string text = statusName(status);
    if (status > 0) {
        const char* d = kviStatusDescription(status);
        if (d != nullptr)
            text += std::string(" (") + d + ")";
        else
            text = "firmware status " + text;
    } else if (status == -1) {
        text += " (the controller-data layer refused the request: not supported by this "
                "controller or not available)";
    } else if (status == -2) {
        text += " (the time cannot be expressed in the firmware's schedule clock)";
    } else if (status < -2 && t.gate != nullptr) {
        std::string why = t.gate->lastError();
        if (!why.empty())
            text += " (" + why + ")";
    }
    return text;
}

void App::fail(Target& t, const std::string& what, int status) {
    t.failed = true;
    std::string hint;
    switch (status) {
    case KVI_STAT_INVALID_DCMD:
        hint = "this controller does not offer it";
        break;
    case KVI_STAT_NO_HW_PRESENT:
        hint = "the hardware is not fitted on this controller";
        break;
    case kvi::kTransportFailed:
        hint = "check the device path and that the driver is loaded";
        break;
    case kvi::kReplayMismatch:
        hint = "the capture does not match this command; record it again";
        break;
    default:
        hint = "run with --log FILE --log-level 4 for the request log";
        break;
    }
    std::string text = what + " failed: " + statusText(t, status);
    std::cout.flush();
    std::cerr << "kvictl: controller " << t.index << ": " << text << "; " << hint << "\n";
    if (json() && t.entry != nullptr)
        json::Envelope::AddMessage(*t.entry, json::Envelope::Error, statusName(status), text);
    int code = kExitFailed;
    if (status == kvi::kTransportFailed && t.gate != nullptr) {
        if (auto* pt = dynamic_cast<kvi::PassThroughBackend*>(&t.gate->inner()))
            if (pt->lastFault() == kvi::TransportFault::PermissionDenied)
                code = kExitPermission;
    }
    raiseExit(code);
}

void App::warn(Target& t, const std::string& code, const std::string& text) {
    std::cerr << "kvictl: controller " << t.index << ": " << text << "\n";
    if (json() && t.entry != nullptr)
        json::Envelope::AddMessage(*t.entry, json::Envelope::Warning, code, text);
}

std::string Target::statusName() const {
    return statusKnown ? RaidManager::controllerStatusName(status) : "unknown";
}

void App::notice(const std::string& code, const std::string& text) {
    std::cerr << "kvictl: " << printable(text) << "\n";
    if (envelope_)
        envelope_->AddMessage(json::Envelope::Warning, code, text);
}

void App::error(const std::string& code, const std::string& text, int exitCode) {
    std::cerr << "kvictl: " << printable(text) << "\n";
    if (envelope_)
        envelope_->AddMessage(json::Envelope::Error, code, text);
    if (!controllersRead_ && command_ && command_->earlyFailure)
        exitCode = command_->earlyFailure(text);
    raiseExit(exitCode);
}

void App::emit(Target& t, const std::string& key, const std::string& title,
               const json::Object& body) {
    if (json()) {
        if (key.empty()) {
            json::UnknownElement& s = (*t.entry)["sections"];
            if (!s.Is<json::Object>())
                s = json::Object();
            (*s.As<json::Object>())[title] = body;
        } else {
            (*t.entry)[key] = body;
        }
        return;
    }
    if (!firstBlock_)
        out() << "\n";
    firstBlock_ = false;
    json::TextWriter::Write(body, title, out());
}

} // namespace cli
