// The directory of Tolvane states.
#pragma once

#include "hardware/HwTolvane.h"
