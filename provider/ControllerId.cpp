#include "provider/ControllerId.h"

#include "provider/ProcessInputs.h"

int ControllerId::getControllerType() const {
    return typeSet_ ? type_ : kvi::processInputs().controllerType;
}
