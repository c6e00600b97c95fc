#include "SlQFileSvc.h"

SlQFileSvc::~SlQFileSvc() = default;
