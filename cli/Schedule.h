#pragma once
// Shared by the patrol-read and consistency-check commands: the arguments of
// `set` (mode, delay, start, exclude, ...), validated before any request.
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "util/ArList.h"
#include "json/elements.h"

namespace cli {

// KEY=VALUE arguments with the keys a command allows; throws UsageError for
// an unknown or repeated key.
std::map<std::string, std::string> parseKeyValues(const std::vector<std::string>& args,
                                                  const std::vector<std::string>& keys,
                                                  const std::string& what);

// The excluded virtual drives as an array of numbers.
json::Array idArray(const ArrayList<unsigned short>& list);
std::string idText(const ArrayList<unsigned short>& list);

} // namespace cli
