// The scalar switch of this program's scalar re-run (see the header).
#include "common/dispatch_check.h"
