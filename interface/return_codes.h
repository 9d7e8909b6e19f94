// The table of return codes: the one place that lists every code with its
// meaning. Exit messages and documentation are produced from it.
#pragma once

struct MxReturnCode {
  int code;
  const char *name;     // the public macro
  const char *meaning;  // one line
};

const MxReturnCode *mxl_return_codes(int *count);
// The row of a code, or null for a code the system never returns.
const MxReturnCode *mxl_find_return_code(int code);
