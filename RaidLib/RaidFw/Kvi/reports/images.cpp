// Report sections of AdapterDataKvi: pending and dual firmware images.

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"

int AdapterDataKvi::getShowPendingImages(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getShowDualImages(json::Object&) {
    return -1; // not yet
}

