// kvictl capture [show|start|stop|disable|mode|filter|unfilter|read]: event
// capture, the firmware's second buffer of selected events.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Doc.h"
#include "cli/Util.h"
#include "firmware/kv.h"

namespace cli {

namespace {

constexpr unsigned int kCaptureBufferSize = 32768;

std::string hex32(unsigned int v) {
    char b[16];
    std::snprintf(b, sizeof b, "0x%08x", v);
    return b;
}

Command showCapture(App& app) {
    Command c;
    c.name = "capture show";
    c.run = [&app](Target& t) {
        KV_AEC_SETTINGS s;
        std::memset(&s, 0, sizeof s);
        int rc = t.adapter->showAECSettings(&s);
        if (rc != 0) {
            app.fail(t, "reading the event capture settings", rc);
            return;
        }
        Doc d(app.json());
        d.num("State", "state", s.state);
        d.num("Control", "control", s.control);
        d.num("Mode", "mode", s.mode);
        d.num("Events", "events", s.numEvents);
        d.num("Captured Events", "captured_events", s.numCapturedEvents);
        d.num("Captured Segments", "captured_segments", s.numCapturedSegments);
        d.measure("Host Filter Mask", "host_filter_mask", s.filterMaskHost,
                  hex32(s.filterMaskHost));
        d.measure("Firmware Filter Mask", "firmware_filter_mask", s.filterMaskFw,
                  hex32(s.filterMaskFw));
        app.emit(t, "capture", "Event Capture", d.object());
    };
    return c;
}

Command captureAction(App& app, const std::string& action, std::function<int(AdapterData&)> op) {
    return actionCommand(app, "capture " + action, "Event Capture", std::move(op));
}

struct MaskArgs {
    std::string mask;
    bool fw = false;
    unsigned int value = 0;
};

} // namespace

void registerCapture(CLI::App& root, App& app) {
    auto* g = commandGroup(root, app, "capture", [&app] { return showCapture(app); });
    auto startValue = std::make_shared<std::string>("0");
    auto* start = verb(*g, "start", "Start capturing events");
    start->add_option("--value", *startValue, "Control value passed to the firmware (default 0)")
        ->type_name("N")
        ->check(unsignedIn(0, 0xFFFFFFFFu, "--value"));
    start->callback([&app, startValue] {
        auto v = std::make_shared<unsigned int>(0);
        Command c = captureAction(app, "start", [v](AdapterData& a) { return a.startAEC(*v); });
        c.validate = [startValue, v] {
            *v = static_cast<unsigned int>(parseUnsigned(*startValue, 0, 0xFFFFFFFFu, "--value"));
        };
        app.setCommand(std::move(c));
    });
    verb(*g, "stop", "Stop capturing")->callback([&app] {
        app.setCommand(captureAction(app, "stop", [](AdapterData& a) { return a.stopAEC(); }));
    });
    verb(*g, "disable", "Disable event capture")->callback([&app] {
        app.setCommand(
            captureAction(app, "disable", [](AdapterData& a) { return a.disableAEC(); }));
    });
    auto modeArg = std::make_shared<std::string>();
    auto* mode = verb(*g, "mode", "Set the capture mode (0-255)");
    mode->add_option("mode", *modeArg, "Capture mode")
        ->type_name("0-255")
        ->check(unsignedIn(0, 255, "mode"))
        ->required();
    mode->callback([&app, modeArg] {
        auto v = std::make_shared<unsigned char>(0);
        Command c =
            captureAction(app, "mode", [v](AdapterData& a) { return a.setAECCaptureMode(*v); });
        c.validate = [modeArg, v] {
            *v = static_cast<unsigned char>(parseUnsigned(*modeArg, 0, 255, "mode"));
        };
        app.setCommand(std::move(c));
    });
    for (const char* which : {"filter", "unfilter"}) {
        auto args = std::make_shared<MaskArgs>();
        bool add = std::string(which) == "filter";
        auto* sub =
            verb(*g, which, add ? "Add bits to a filter mask" : "Clear bits of a filter mask");
        sub->add_option("mask", args->mask, "Mask bits (0x...)")
            ->type_name("MASK")
            ->check(unsignedIn(0, 0xFFFFFFFFu, "mask"))
            ->required();
        sub->add_flag("--fw", args->fw, "The firmware mask (default: the host mask)");
        sub->callback([&app, args, add, which] {
            Command c = captureAction(app, which, [args, add](AdapterData& a) {
                unsigned char w = args->fw ? 1 : 0;
                return add ? a.filterAECMask(args->value, w) : a.clearAECMask(args->value, w);
            });
            c.validate = [args] {
                args->value =
                    static_cast<unsigned int>(parseUnsigned(args->mask, 0, 0xFFFFFFFFu, "mask"));
            };
            app.setCommand(std::move(c));
        });
    }
    auto readFw = std::make_shared<bool>(false);
    auto* read = verb(*g, "read", "Read the captured events");
    read->add_flag("--fw", *readFw, "The firmware's capture (default: the host's)");
    read->callback([&app, readFw] {
        Command c;
        c.name = "capture read";
        c.run = [&app, readFw](Target& t) {
            std::vector<unsigned char> buf(kCaptureBufferSize, 0);
            unsigned int count = 0;
            int rc = t.adapter->getAEC(buf.data(), *readFw ? 1 : 0, &count);
            if (rc != 0) {
                app.fail(t, "reading the captured events", rc);
                return;
            }
            // The count is the firmware's; never decode past the buffer.
            unsigned int n = std::min<unsigned int>(count, kCaptureBufferSize / kEventRecordSize);
            json::Array rows;
            for (unsigned int i = 0; i < n; ++i) {
                EventRecord e = decodeEvent(buf.data() + i * kEventRecordSize);
                json::Object row = eventJson(e);
                if (!app.json()) {
                    json::Object r;
                    r["Sequence"] = row["sequence"];
                    r["Time"] = json::String(eventTime(e.timeStamp));
                    r["Class"] = row["class"];
                    r["Code"] = row["code"];
                    r["Description"] = row["description"];
                    row = r;
                }
                rows.Insert(row);
            }
            Doc d(app.json());
            d.num("Captured Events", "count", count);
            d.rows("Events", "events", rows);
            app.emit(t, "capture", "Captured Events", d.object());
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
