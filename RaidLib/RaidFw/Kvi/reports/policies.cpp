// Report sections of AdapterDataKvi: policies and boot.

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"

int AdapterDataKvi::getShowPolicies(json::Object&) {
    return -1; // not yet
}

int AdapterDataKvi::getShowBoot(json::Object&) {
    return -1; // not yet
}


int AdapterDataKvi::formatPolicyObject(char*, char*, char*, json::Object&) { return 0; } // not yet
