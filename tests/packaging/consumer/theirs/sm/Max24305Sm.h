// A header of the consumer's own, by the name of one of the library's.
#pragma once

namespace Theirs {
constexpr int machine = 2;
}
