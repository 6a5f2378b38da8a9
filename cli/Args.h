#pragma once
// How an option or argument takes its value, said where it is declared: the
// value named in words for help and the man page (type_name: N, FILE, all|N),
// a parser check that refuses a bad value before anything is opened or sent,
// and the words completion offers (App::complete).
#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "cli/Util.h"

namespace cli {

// A parser check made of a function that throws UsageError for a bad value.
// The UsageError leaves the parser as it is, so the message reads the same
// as one found later and the run ends with exit status 2, nothing sent.
CLI::Validator checkedBy(std::function<void(const std::string&)> check);
// Decimal or 0x-hex in [min, max] (parseUnsigned); `what` names the value.
CLI::Validator unsignedIn(unsigned long long min, unsigned long long max, const std::string& what);
// A name of `names` (parseNamed).
CLI::Validator namedIn(const std::vector<NamedValue>& names, const std::string& what);

// Help that names each value in words only (valueName in App.h), without
// the parser's descriptions of its checks.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_option_opts(const CLI::Option* option) const override;
};

// The names of a table, for completion.
std::vector<std::string> namesOf(const std::vector<NamedValue>& names);

} // namespace cli
