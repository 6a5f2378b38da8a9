// Report sections of AdapterDataKvi: basic controller information and versions.

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"

int AdapterDataKvi::getShowBasic(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getShowVersion(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getBasicCtrlInfo(json::Object&) {
    return -1; // not yet
}

