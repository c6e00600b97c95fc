#include "SlGfwTreeView.h"
