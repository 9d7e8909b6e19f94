/* Builds a small model through the public interface, sets options by id,
 * by name and through a parameter file, and prints the release and the
 * options that differ from their defaults. */
#define _POSIX_C_SOURCE 200809L
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "morvex.h"

#define CHECK(call)                                       \
  do {                                                    \
    int rc_ = (call);                                     \
    if (rc_ != 0) {                                       \
      fprintf(stderr, "%s failed with %d\n", #call, rc_); \
      return 1;                                           \
    }                                                     \
  } while (0)

/* Two named variables, 0 <= supply <= 4 and demand >= 0, and one constraint
 * bounded below by 1. */
static int build_model(MX_context_ptr mx) {
  int vars[2], con = 0;
  double lo[2] = {0.0, 0.0};
  char *names[2] = {"supply", "demand"};
  CHECK(MX_add_vars(mx, 2, vars));
  CHECK(MX_set_var_lobnds(mx, 2, vars, lo));
  CHECK(MX_set_var_upbnd(mx, vars[0], 4.0));
  CHECK(MX_set_var_names(mx, 2, vars, names));
  CHECK(MX_add_con(mx, &con));
  CHECK(MX_set_con_lobnd(mx, con, 1.0));
  return 0;
}

/* Writes a parameter file to a temporary place; its name goes to path. */
static int write_param_file(char *path) {
  FILE *f = NULL;
  int fd = mkstemp(path);
  if (fd < 0) return 1;
  f = fdopen(fd, "w");
  if (f == NULL) return 1;
  fprintf(f, "# demo options\n");
  fprintf(f, "hessopt   LBFGS     # an enum by name, in any case\n");
  fprintf(f, "lmsize    0x14      # hex works too\n");
  fprintf(f, "opttol    1e-8\n");
  return fclose(f) != 0;
}

int main(void) {
  char release[64];
  char path[] = "/tmp/morvex_demo_XXXXXX";
  MX_context_ptr mx = NULL;
  int n = 0, m = 0, rc = 0;
  MX_get_release(63, release);
  printf("%s\n", release);
  if (MX_new(&mx) != 0) return 1;
  if (build_model(mx) != 0) return 1;
  CHECK(MX_get_number_vars(mx, &n));
  CHECK(MX_get_number_cons(mx, &m));
  printf("Model: %d variables, %d constraints\n", n, m);

  CHECK(MX_set_int_param(mx, MX_PARAM_ALGORITHM, 1));
  CHECK(MX_set_double_param_by_name(mx, "feastol", 1e-7));
  CHECK(MX_set_int_param_by_name(mx, "maxit", 200));
  if (write_param_file(path) != 0) return 1;
  rc = MX_load_param_file(mx, path);
  unlink(path);
  if (rc != 0) return 1;

  printf("\nOptions changed from their defaults:\n");
  CHECK(MX_print_options(mx));
  CHECK(MX_free(&mx));
  return 0;
}
