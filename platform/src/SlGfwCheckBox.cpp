#include "SlGfwCheckBox.h"
