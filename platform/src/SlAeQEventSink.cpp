#include "SlAeQEventSink.h"

SlAeQEventSink::~SlAeQEventSink() = default;
