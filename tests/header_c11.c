/* A C11 client: sets an option by name, builds a small model, reads it back
 * and frees the context. */
#include <stdio.h>
#include <string.h>

#include "morvex.h"

int main(void) {
  MX_context_ptr kc = NULL;
  int idx[3], n = 0, type = -1, outlev = -1;
  double lo[3] = {-1.0, 0.0, -MX_INFINITY}, up[3];
  char name[16], *names[1] = {"budget"};
  if (MX_new(&kc) != 0 || MX_add_vars(kc, 3, idx) != 0 || MX_add_cons(kc, 1, NULL) != 0 ||
      MX_set_var_lobnds_all(kc, lo) != 0 || MX_set_var_type(kc, 2, MX_VARTYPE_BINARY) != 0 ||
      MX_set_con_names(kc, 1, idx, names) != 0 || MX_set_int_param_by_name(kc, "outlev", 0) != 0 ||
      MX_get_int_param(kc, MX_PARAM_OUTLEV, &outlev) != 0 || MX_get_number_vars(kc, &n) != 0 ||
      MX_get_var_upbnds_all(kc, up) != 0 || MX_get_var_type(kc, 2, &type) != 0 ||
      MX_get_con_name(kc, 0, (int)sizeof name, name) != 0) {
    fprintf(stderr, "a call failed\n");
    return 1;
  }
  if (n != 3 || idx[2] != 2 || up[2] != 1.0 || up[0] != MX_INFINITY || type != MX_VARTYPE_BINARY ||
      strcmp(name, "budget") != 0 || outlev != 0) {
    fprintf(stderr, "model read back wrong\n");
    return 1;
  }
  return MX_free(&kc) == 0 && kc == NULL ? 0 : 1;
}
