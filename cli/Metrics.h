#pragma once
// The Prometheus text exposition format (version 0.0.4) and the atomic file
// write the node exporter's textfile collector needs.
//
//   Exposition e;
//   e.declare("kvictl_up", "1 when the controller answered", Exposition::Gauge);
//   e.add("kvictl_up", {{"controller", "0"}}, 1);
//   std::string text = e.render();
//
// Families come out in declaration order, each with one HELP and one TYPE line
// followed by all of its samples; a family without samples is left out. No
// sample carries a time stamp.
#include <string>
#include <utility>
#include <vector>

namespace cli {

class Exposition {
public:
    enum Type { Gauge, Counter };
    using Labels = std::vector<std::pair<std::string, std::string>>;

    // Declares a family; declaring the same name again keeps the first.
    void declare(const std::string& name, const std::string& help, Type type = Gauge);
    // Adds a sample to a declared family (throws std::logic_error for an
    // undeclared name, which is a programming error).
    void add(const std::string& name, const Labels& labels, double value);
    std::string render() const;

    // A label value as the text format wants it: backslash, double quote and
    // line feed escaped; the value made valid UTF-8 first (see utf8Clean).
    static std::string escapeLabelValue(const std::string& value);
    // HELP text: backslash and line feed escaped.
    static std::string escapeHelp(const std::string& help);
    // Integral values without exponent or fraction, others with 9 significant
    // digits; NaN and infinities as the format spells them.
    static std::string formatValue(double value);

private:
    struct Sample {
        Labels labels;
        double value;
    };
    struct Family {
        std::string name;
        std::string help;
        Type type;
        std::vector<Sample> samples;
    };
    Family* find(const std::string& name);
    std::vector<Family> families_;
};

// Bytes as valid UTF-8: well-formed sequences are kept, every byte that does
// not start or continue one becomes U+FFFD, and so does every control
// character other than line feed (firmware strings are fixed-size byte arrays
// and may hold anything).
std::string utf8Clean(const std::string& bytes);

// Writes `text` to `path` so that a reader sees either the old file or the
// whole new one: a temporary file in the same folder, fsync, rename over
// `path`, fsync of the folder. The new file is readable by everyone (0644), as
// the textfile collector often runs as another user. Returns "" on success,
// else what failed (the temporary file is removed).
std::string writeFileAtomically(const std::string& path, const std::string& text);

} // namespace cli
