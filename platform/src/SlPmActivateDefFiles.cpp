#include "SlPmActivateDefFiles.h"

SlPmActivateDefFiles::~SlPmActivateDefFiles() = default;
