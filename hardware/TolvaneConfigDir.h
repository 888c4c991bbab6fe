// The directory of Tolvane configurations.
#pragma once

#include "hardware/HwTolvane.h"
