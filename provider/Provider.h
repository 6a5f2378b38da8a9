#pragma once
// Everything the adapter layer uses from the provider, in one include.
#include "provider/Backend.h"
#include "provider/Controller.h"
#include "provider/ControllerId.h"
#include "provider/DebugLog.h"
#include "provider/DpParams.h"
#include "provider/KviDataProvider.h"
#include "provider/ProcessInputs.h"
#include "provider/RaidManager.h"
#include "provider/System.h"
#include "provider/Transfer.h"
