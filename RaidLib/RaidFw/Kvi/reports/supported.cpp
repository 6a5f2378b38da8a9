// Report sections of AdapterDataKvi: supported operations and external key management.

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"

int AdapterDataKvi::getShowSupportedAdpOperations(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getShowSupportedPDOperations(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getSecureEKMSDetails(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getShowSupportedVDOperations(json::Object&) {
    return -1; // not yet
}

