// Structural terms of the model layer: evaluation callbacks, linear,
// quadratic and L2-norm terms. They are merged into the inner patterns at
// solve time.
#pragma once

#include "interface/context.h"

struct MXCB {};
struct MXLIN {};
struct MXQUAD {};
struct MXCONIC {};
