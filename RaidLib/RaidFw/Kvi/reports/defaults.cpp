// Report sections of AdapterDataKvi: manufacturing defaults and controller capabilities.

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"

int AdapterDataKvi::getShowDefaults(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getShowCapabilities(json::Object&) {
    return -1; // not yet
}

