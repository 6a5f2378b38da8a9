// Report sections of AdapterDataKvi: bus and status.

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"

int AdapterDataKvi::getShowBus(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getShowStatus(json::Object&) {
    return -1; // not yet
}

