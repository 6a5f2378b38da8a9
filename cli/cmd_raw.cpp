// kvictl raw RECORD: every field of a firmware record by its dotted name, from
// the field registry, as the controller answers it now. A debugging view: the
// record is read with its own get request and not interpreted.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstring>

#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Util.h"
#include "firmware/fields.h"
#include "firmware/kvi.h"
#include "provider/Provider.h"

namespace cli {

namespace {

struct RawRead {
    const char* record;
    std::uint32_t opcode; // 0 = the PCI information of the driver
    std::uint8_t mbox0;
};

// The records a get request returns whole, with that request.
const RawRead kReads[] = {
    {"KV_CTRL_INFO", 0x01010000, 0},
    {"KV_CTRL_PROP", 0x01020100, 0},
    {"KV_CTRL_PROP_EXT", 0x01020100, 1},
    {"KV_MFC_DEFAULTS", 0x010E0201, 0},
    {"KV_MFC_MFG", 0x010E0301, 0},
    {"KV_BIOS_DATA", 0x010C0100, 0},
    {"KV_HOST_INFO", 0x010C0700, 0},
    {"KV_CONFIG_ALLOWED_OPS", 0x04070000, 0},
    {"KV_FLASH_COMP_INFO_LIST", 0x010F0500, 0},
    {"KV_BBU_STATUS", 0x05010000, 0},
    {"KV_BBU_CAPACITY_INFO", 0x05020000, 0},
    {"KV_BBU_DESIGN_INFO", 0x05030000, 0},
    {"KV_BBU_PROPERTIES", 0x05050100, 0},
    {"KV_PR_PROPERTIES", 0x01070200, 0},
    {"KV_PR_PROPERTIES_EXT", 0x01070200, 1},
    {"KV_PR_STATUS", 0x01070100, 0},
    {"KV_CC_SCHEDULE_PROPERTIES", 0x01140200, 0},
    {"KV_CC_SCHEDULE_PROPERTIES_EXT", 0x01140200, 1},
    {"KV_CC_SCHEDULE_STATUS", 0x01140100, 0},
    {"KV_SAS_MUX_LIST", 0x07020100, 0},
    {"KV_SAS_CONNECTORS", 0x07030000, 0},
    {"KV_SAS_PHY_CONNECTIONS", 0x07010000, 0},
    {"KV_PCIE_LANE_CONNECTIONS", 0x0C010000, 0},
    {"KV_TIME_STAMP", 0x01080101, 0},
    {"KV_EVT_LOG_INFO", 0x01040100, 0},
    {"KV_AEC_SETTINGS", 0x01180300, 0},
    {"KV_CTRL_PERSONALITY_INFO", 0x011C0100, 0},
    {"KV_DRV_PCI_INFORMATION", 0, 0},
};

std::string readableList() {
    std::string s;
    for (const RawRead& r : kReads)
        s += std::string(s.empty() ? "" : ", ") + r.record;
    return s;
}

// The read of a record name (any case, KV_ may be left out).
const RawRead& readOf(const std::string& name) {
    std::string want = name;
    std::transform(want.begin(), want.end(), want.begin(),
                   [](unsigned char ch) { return static_cast<char>(std::toupper(ch)); });
    if (want.rfind("KV_", 0) != 0)
        want = "KV_" + want;
    for (const RawRead& r : kReads)
        if (want == r.record && kvi::fields::findRecord(r.record) != nullptr)
            return r;
    throw UsageError("raw: '" + name +
                     "' is not a record that can be read (records: " + readableList() + ")");
}

// Every value of one field (one per element for integer arrays).
void addField(json::Object& body, const std::uint8_t* image, const kvi::fields::FieldInfo& f) {
    using kvi::fields::FieldKind;
    switch (f.kind) {
    case FieldKind::Char:
        body[f.path] = json::String(kvi::fields::readText(image, f));
        return;
    case FieldKind::Bytes:
        body[f.path] = json::String(hexBytes(image + f.offset, f.byteSize()));
        return;
    case FieldKind::Unsigned:
    case FieldKind::Signed:
        break;
    }
    for (std::uint16_t i = 0; i < f.count; ++i) {
        kvi::fields::FieldRef ref;
        ref.field = &f;
        ref.index = i;
        std::string name =
            f.count > 1 ? std::string(f.path) + "[" + std::to_string(i) + "]" : f.path;
        if (f.kind == FieldKind::Signed)
            body[name] = json::Number(static_cast<long>(kvi::fields::readSigned(image, ref)));
        else
            body[name] = json::UNumber(kvi::fields::readUnsigned(image, ref));
    }
}

} // namespace

void registerRaw(CLI::App& root, App& app) {
    auto* sub = root.add_subcommand(
        "raw", "Print every field of a firmware record by its dotted name (debugging)");
    auto name = std::make_shared<std::string>();
    std::vector<std::string> records;
    for (const RawRead& r : kReads)
        records.push_back(r.record);
    app.complete(sub->add_option("record", *name, "Record name, e.g. KV_CTRL_PROP")
                     ->type_name("RECORD")
                     ->check(checkedBy([](const std::string& n) { readOf(n); }))
                     ->required(),
                 records);
    sub->footer(
        "Records: " + readableList() +
        "\n\nExamples:\n  kvictl --sim raw KV_CTRL_PROP\n  kvictl --sim -o json raw KV_BBU_STATUS");
    sub->callback([&app, name] {
        auto read = std::make_shared<const RawRead*>(nullptr);
        Command c;
        c.name = "raw";
        c.validate = [name, read] { *read = &readOf(*name); };
        c.run = [&app, read](Target& t) {
            const RawRead& r = **read;
            const kvi::fields::RecordInfo* rec = kvi::fields::findRecord(r.record);
            std::vector<std::uint8_t> image(rec->size, 0);
            int rc;
            if (r.opcode == 0) {
                KV_DRV_PCI_INFORMATION info;
                std::memset(&info, 0, sizeof info);
                rc = t.controller->getPciInfo(&info);
                std::memcpy(image.data(), &info, std::min<std::size_t>(sizeof info, image.size()));
            } else {
                DCMD_MBOX mbox;
                std::memset(&mbox, 0, sizeof mbox);
                mbox.b[0] = r.mbox0;
                DcmdKviDpParams req(r.opcode, mbox, image.data(), rec->size, 0, 0, rec->size);
                rc = t.controller->execute(&req);
            }
            if (rc != 0) {
                app.fail(t, std::string("reading ") + r.record, rc);
                return;
            }
            json::Object fields;
            for (std::size_t i = 0; i < rec->fieldCount; ++i)
                addField(fields, image.data(), rec->fields[i]);
            if (app.json()) {
                json::Object body;
                body["name"] = json::String(r.record);
                body["size_bytes"] = json::UNumber(rec->size);
                body["fields"] = fields;
                (*t.entry)["record"] = body;
            } else {
                app.emit(t, "record", r.record, fields);
            }
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
