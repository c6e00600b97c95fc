#include "SlGfwLabel.h"
