/* A C11 client: sets options by id and by name, builds a small model, reads
 * both back, and frees the context. */
#include <stdio.h>
#include <string.h>

#include "morvex.h"

#define CHECK(call)                                          \
  do {                                                       \
    int rc_ = (call);                                        \
    if (rc_ != 0) {                                          \
      fprintf(stderr, "%s failed with %d\n", #call, rc_);    \
      return 1;                                              \
    }                                                        \
  } while (0)

int main(void) {
  MX_context_ptr kc = NULL;
  int idx[3], n = 0, m = 0, type = -1, alg = -1, outlev = -1;
  double feastol = 0.0;
  double lo[3] = {-1.0, 0.0, -MX_INFINITY}, up[3], cl = 0.0;
  char name[16], *names[1] = {"budget"}, *out[1] = {name};
  CHECK(MX_new(&kc));
  CHECK(MX_add_vars(kc, 3, idx));
  CHECK(MX_add_cons(kc, 1, NULL));
  CHECK(MX_set_var_lobnds_all(kc, lo));
  CHECK(MX_set_var_upbnd(kc, 1, 4.5));
  CHECK(MX_set_var_type(kc, 2, MX_VARTYPE_BINARY));
  CHECK(MX_set_con_eqbnd(kc, 0, 2.0));
  CHECK(MX_set_con_names(kc, 1, idx, names));
  CHECK(MX_set_int_param(kc, MX_PARAM_ALGORITHM, 1));
  CHECK(MX_set_double_param_by_name(kc, "feastol", 1e-8));
  CHECK(MX_set_int_param_by_name(kc, "outlev", 0));
  CHECK(MX_get_int_param_by_name(kc, "algorithm", &alg));
  CHECK(MX_get_double_param(kc, MX_PARAM_FEASTOL, &feastol));
  CHECK(MX_get_int_param(kc, MX_PARAM_OUTLEV, &outlev));
  CHECK(MX_get_number_vars(kc, &n));
  CHECK(MX_get_number_cons(kc, &m));
  CHECK(MX_get_var_upbnds_all(kc, up));
  CHECK(MX_get_var_type(kc, 2, &type));
  CHECK(MX_get_con_lobnd(kc, 0, &cl));
  CHECK(MX_get_con_name(kc, 0, (int)sizeof name, name));
  (void)out;
  if (n != 3 || m != 1 || idx[2] != 2 || up[1] != 4.5 || up[2] != 1.0 || up[0] != MX_INFINITY ||
      type != MX_VARTYPE_BINARY || cl != 2.0 || strcmp(name, "budget") != 0 || alg != 1 ||
      feastol != 1e-8 || outlev != 0) {
    fprintf(stderr, "model read back wrong\n");
    return 1;
  }
  CHECK(MX_free(&kc));
  return kc == NULL ? 0 : 1;
}
