// Report section of AdapterDataKvi: hardware configuration.

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"

int AdapterDataKvi::getShowHwConfig(json::Object&) {
    return -1; // not yet
}

