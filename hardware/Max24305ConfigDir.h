// The directory of MAX24305 configurations.
#pragma once

#include "hardware/HwMax24305.h"
