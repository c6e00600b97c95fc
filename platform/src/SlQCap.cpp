#include "SlQCap.h"

SlQCap::~SlQCap() = default;
