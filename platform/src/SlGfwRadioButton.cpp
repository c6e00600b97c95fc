#include "SlGfwRadioButton.h"
