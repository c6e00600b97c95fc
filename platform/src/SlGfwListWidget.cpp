#include "SlGfwListWidget.h"
