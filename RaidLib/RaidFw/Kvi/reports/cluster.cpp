// Report sections of AdapterDataKvi: cluster, next scheduled tasks and secure boot.

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"

int AdapterDataKvi::getShowClusterInfo(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getShowNextSchdTask(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getSecureBootDetails(json::Object&) {
    return -1; // not yet
}

