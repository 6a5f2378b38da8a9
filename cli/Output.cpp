// The end of a run's output: the dry-run list of held requests, the JSON
// envelope and the arrays streamed beside it.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "cli/App.h"
#include "cli/Gate.h"
#include "cli/Util.h"
#include "firmware/kvi.h"
#include "provider/Provider.h"
#include "transport/Replay.h"

namespace cli {

void App::reportDryRun(Target& t, Gate& gate) {
    const std::vector<HeldRequest>& held = gate.held();
    if (json()) {
        json::Array list;
        for (const HeldRequest& r : held) {
            json::Object e;
            const char* name = kvDcmdName(r.opcode);
            e["opcode"] = json::UNumber(r.opcode);
            e["name"] = json::String(name ? name : "");
            e["mailbox"] = json::String(hexBytes(r.mbox, 12));
            e["length_bytes"] = json::UNumber(r.length);
            e["direction"] = json::String(r.direction == kvi::Direction::Write  ? "write"
                                          : r.direction == kvi::Direction::Both ? "both"
                                                                                : "none");
            list.Insert(e);
        }
        (*t.entry)["dry_run"] = list;
    } else {
        out() << (firstBlock_ ? "" : "\n") << "Dry run: " << held.size()
              << (held.size() == 1 ? " request" : " requests") << " not sent\n";
        for (const HeldRequest& r : held)
            out() << "  " << kvi::describeRequest(r.opcode, r.mbox, r.length) << "\n";
        firstBlock_ = false;
    }
}

std::FILE* App::deferArray(Target& t, const std::string& key) {
    std::FILE* f = kvi::files::scratchFile();
    if (f == nullptr)
        return nullptr;
    std::string marker = "@@kvictl-stream-" + std::to_string(streams_.size()) + "@@";
    (*t.entry)[key] = json::String(marker);
    streams_.push_back({json::JsonWriter::Quote(marker), f});
    return f;
}

void App::appendDeferred(std::FILE* f, const json::Object& element, bool first) {
    std::string text = json::JsonWriter::ToString(element, json::JsonWriter::Compact);
    if (!first)
        text.insert(0, format_ == OutputFormat::JsonCompact ? "," : ",\n");
    if (std::fputs(text.c_str(), f) == EOF && streamError_ == 0)
        streamError_ = errno;
}

void App::writeWithStreams(const std::string& doc, std::ostream& os) {
    std::size_t pos = 0;
    for (auto& s : streams_) {
        std::size_t at = doc.find(s.first, pos);
        if (at == std::string::npos)
            continue;
        os << doc.substr(pos, at - pos) << '[';
        std::rewind(s.second);
        char buf[65536];
        std::size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, s.second)) > 0)
            os.write(buf, static_cast<std::streamsize>(n));
        if (std::ferror(s.second))
            error("scratch",
                  std::string("cannot read back the scratch file of a long list: ") +
                      std::strerror(errno) + "; the list is incomplete",
                  kExitOutput);
        os << ']';
        pos = at + s.first.size();
    }
    os << doc.substr(pos);
}

void App::writeEnvelope() {
    // A command writing JSON Lines has no envelope around them.
    if (!envelope_ || (command_ && command_->jsonLines))
        return;
    // A long list that did not reach its scratch file would come out short.
    for (auto& s : streams_)
        if (std::fflush(s.second) != 0 && streamError_ == 0)
            streamError_ = errno;
    if (streamError_ != 0) {
        error("scratch",
              std::string("cannot write the scratch file of a long list (in $TMPDIR or /tmp): ") +
                  std::strerror(streamError_) + "; the list is incomplete",
              kExitOutput);
        streamError_ = 0;
    }
    envelope_->SetExitStatus(exit_);
    json::JsonWriter::Style style =
        format_ == OutputFormat::JsonCompact ? json::JsonWriter::Compact : json::JsonWriter::Pretty;
    if (streams_.empty()) {
        envelope_->Write(std::cout, style);
    } else {
        writeWithStreams(json::JsonWriter::ToString(envelope_->Document(), style), std::cout);
        std::cout << "\n";
    }
    std::cout.flush();
}

} // namespace cli
