/* Builds a small model through the public interface and prints what the
 * library holds. */
#include <stdio.h>

#include "morvex.h"

int main(void) {
  char release[64];
  MX_context_ptr ctx = NULL;
  MX_get_release(63, release);
  printf("%s\n", release);
  if (MX_new(&ctx) != 0) return 1;
  MX_free(&ctx);
  return 0;
}
