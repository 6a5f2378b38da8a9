#pragma once
// Calls operations of an AdapterData with arguments read from the fuzz input.
//
// Every operation of the interface is reachable: the list is generated from
// RaidLib/RaidFw/AdpData.h at configure time (fuzz/ListOperations.cmake), and
// each call builds its arguments from the parameter types. Buffers are
// allocated at exactly the size the interface states, so an operation that
// writes past what it promised is caught by the sanitizers; lists and texts
// handed back are released the way the interface says.
#include <cstddef>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

class AdapterData;

namespace kvifuzz {

// The number of callable operations (the overloaded forms counted one by one).
std::size_t operationCount();
const char* operationName(std::size_t index);

// Calls operation `index` (modulo operationCount()) with arguments from `in`.
void callOperation(AdapterData& adapter, std::size_t index, FuzzedDataProvider& in);

// The report sections in the order `show all` prints them (summary first),
// each into a fresh document that is then rendered as text and as JSON.
void buildReports(AdapterData& adapter);

} // namespace kvifuzz
