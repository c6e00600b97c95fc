#include "VirtualNc.h"

class VirtualNcPrivate
{
};

VirtualNc::~VirtualNc() = default;
