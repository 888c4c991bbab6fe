// The directory of MAX24305 states.
#pragma once

#include "hardware/HwMax24305.h"
