// Folding of pending constant changes into the model at a solve.
#pragma once

struct MXL_context;

// Zeroes every constant marked deleted, adds each pending value, and clears
// the pending store (constraints and objective).
void mxLoadConstants(MXL_context *ctx);
