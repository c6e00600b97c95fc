#include "SlGfwTextEdit.h"
