// Running out of memory at each allocation of a model build: every failure
// returns -503 with its message, leaves the model as it was before the
// failing call, and the handle is still freed cleanly (leaks are caught by
// the asan preset's leak checker).
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include "capture.h"
#include "interface/frame.h"
#include "morvex.h"

namespace {
// Allocation number at which the next allocation fails; 0 disarms.
thread_local long failAt = 0;
thread_local long allocations = 0;

void *counted(std::size_t size) {
  if (failAt > 0 && ++allocations == failAt) throw std::bad_alloc();
  void *p = std::malloc(size == 0 ? 1 : size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}
}  // namespace

void *operator new(std::size_t size) { return counted(size); }
void *operator new[](std::size_t size) { return counted(size); }
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
  try {
    return counted(size);
  } catch (...) {
    return nullptr;
  }
}
void *operator new[](std::size_t size, const std::nothrow_t &t) noexcept { return operator new(size, t); }
void operator delete(void *p) noexcept { std::free(p); }
void operator delete[](void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }
void operator delete[](void *p, std::size_t) noexcept { std::free(p); }

namespace {

// A representative build; returns the first failing code, 0 when complete.
int buildModel(MX_context_ptr kc, long failAtAllocation, int *stage) {
  static char *names[3] = {const_cast<char *>("alpha"), const_cast<char *>("a much longer variable name"),
                           const_cast<char *>("gamma")};
  const int idx[3] = {0, 1, 2}, types[3] = {0, 1, 2}, cc1[1] = {0}, cc2[1] = {1}, cct[1] = {0}, rows[3] = {0, 1, 1};
  const double lo[3] = {-1, -2, -3}, up[3] = {1, 2, 3};
  const std::function<int()> steps[] = {
      [&] { return MX_add_vars(kc, 3, nullptr); },
      [&] { return MX_add_cons(kc, 2, nullptr); },
      [&] { return MX_set_var_lobnds_all(kc, lo); },
      [&] { return MX_set_var_upbnds(kc, 3, idx, up); },
      [&] { return MX_set_var_types_all(kc, types); },
      [&] { return MX_set_var_names_all(kc, names); },
      [&] { return MX_set_con_names(kc, 2, idx, names); },
      [&] { return MX_set_var_feastols_all(kc, up); },
      [&] { return MX_set_con_scalings_all(kc, up); },
      [&] { return MX_set_compcons(kc, 1, cct, cc1, cc2); },
      [&] { return MX_set_mip_branching_priorities_all(kc, types); },
      [&] { return MX_add_con_constants_all(kc, lo); },
      [&] { return MX_add_vars(kc, 2, nullptr); },
      [&] { return MX_set_obj_name(kc, "a rather long objective name that is not inline"); },
      [&] { return MX_add_con_linear_struct(kc, 3, rows, idx, up); },
      [&] { return MX_add_obj_quadratic_struct(kc, 3, idx, types, up); },
      [&] { return MX_add_con_quadratic_struct_one(kc, 2, 0, idx, idx, up); },
      [&] { return MX_add_con_L2norm(kc, 1, 2, 3, rows, idx, up, lo); },
  };
  allocations = 0;
  failAt = failAtAllocation;
  for (const auto &step : steps) {
    ++*stage;
    if (const int rc = step()) {
      failAt = 0;
      return rc;
    }
  }
  failAt = 0;
  return 0;
}

TEST(AllocationFailure, EveryAllocationOfAModelBuildFailsCleanly) {
  long failures = 0;
  for (long k = 1;; ++k) {
    MX_context_ptr kc = nullptr;
    allocations = 0;
    failAt = k;
    const int created = MX_new(&kc);
    if (created != 0) {
      failAt = 0;
      EXPECT_EQ(created, MX_RC_OUT_OF_MEMORY);
      EXPECT_EQ(kc, nullptr);
      ++failures;
      continue;
    }
    failAt = 0;
    const long usedByNew = allocations;
    ASSERT_GT(k, usedByNew) << "MX_new succeeded at its own failing allocation";
    PrintCapture out(kc);
    out.text.reserve(4096);  // the capture itself must not allocate
    int stage = 0;
    const int rc = buildModel(kc, k - usedByNew, &stage);
    if (rc == 0) {
      EXPECT_EQ(MX_free(&kc), 0);
      break;
    }
    ++failures;
    EXPECT_EQ(rc, MX_RC_OUT_OF_MEMORY) << "allocation " << k;
    const std::string coneText = "ERROR: Unable to allocate memory to hold L2 norm structure in MX_add_con_L2norm().\n";
    const size_t skip = out.text.rfind(coneText, 0) == 0 ? coneText.size() : 0;
    EXPECT_EQ(out.text.compare(skip, std::string::npos, "ERROR: Not enough memory.\n", 0, 26), 0) << out.text;
    // The model is consistent: every array matches the dimension it claims.
    EXPECT_EQ(kc->var.lo.size(), static_cast<size_t>(kc->n));
    EXPECT_EQ(kc->con.up.size(), static_cast<size_t>(kc->m));
    EXPECT_EQ(kc->lambda.size(), static_cast<size_t>(kc->n + kc->m));
    EXPECT_EQ(kc->fatalError, 0) << "stage " << stage << ": " << out.text;
    int n = -1;
    EXPECT_EQ(MX_get_number_vars(kc, &n), 0);
    EXPECT_EQ(MX_free(&kc), 0);
    EXPECT_EQ(kc, nullptr);
  }
  EXPECT_GT(failures, 20);
}

TEST(AllocationFailure, HintsFollowTheResolvedChoices) {
  MX_context_ptr kc = nullptr;
  ASSERT_EQ(MX_new(&kc), 0);
  PrintCapture out(kc);
  kc->resolvedAlgorithm = 1;
  kc->resolvedLinsysStorage = 2;
  kc->resolvedHessopt = 1;
  kc->opt.cg_precond = 1;
  mx_report_out_of_memory(kc);
  EXPECT_EQ(out.take(),
            "ERROR: Not enough memory.\n"
            "HINT: Setting bar_linsys_storage=1 may use much less memory.\n"
            "HINT: Setting hessopt=6 may use much less memory.\n"
            "HINT: Setting cg_precond=0 may use much less memory.\n"
            "HINT: Using algorithm=2 may use much less memory.\n");
  kc->resolvedAlgorithm = 2;
  kc->opt.cg_precond = 0;
  kc->opt.linsolver = 3;
  mx_report_out_of_memory(kc);
  EXPECT_EQ(out.take(),
            "ERROR: Not enough memory.\n"
            "HINT: Setting bar_linsys_storage=1 may use much less memory.\n"
            "HINT: Setting hessopt=4 or hessopt=6 may use much less memory.\n"
            "HINT: Setting something other than linsolver=3 may use much less memory.\n");
  kc->isLP = 1;
  kc->resolvedAlgorithm = 3;
  kc->opt.linsolver = 0;
  mx_report_out_of_memory(kc);
  EXPECT_EQ(out.take(), "ERROR: Not enough memory.\n");
  EXPECT_EQ(MX_free(&kc), 0);
}

}  // namespace
