// The frame of exported calls: handles, poisoning, release text.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <regex>
#include <set>
#include <string>

#include "capture.h"
#include "interface/context.h"
#include "interface/frame.h"
#include "interface/return_codes.h"
#include "morvex.h"

TEST(Frame, NewAndFreeCheckTheirHandles) {
  MX_context_ptr ctx = nullptr;
  ASSERT_EQ(MX_new(&ctx), 0);
  ASSERT_NE(ctx, nullptr);
  EXPECT_EQ(MX_free(&ctx), 0);
  EXPECT_EQ(ctx, nullptr);
  testing::internal::CaptureStdout();
  EXPECT_EQ(MX_free(nullptr), MX_RC_BAD_KCPTR);
  EXPECT_NE(testing::internal::GetCapturedStdout().find(
                "WARNING: MX_free() was passed a NULL handle (pointer to pointer)."),
            std::string::npos);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(MX_free(&ctx), MX_RC_BAD_KCPTR);  // a handle already freed
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Frame, ReleaseTextIsCutAndTerminated) {
  char buf[32];
  std::memset(buf, 'x', sizeof buf);
  ASSERT_EQ(MX_get_release(10, buf), 0);
  EXPECT_EQ(std::strlen(buf), 10u);
  EXPECT_EQ(std::string(buf), "Morvex 0.1");
  EXPECT_EQ(buf[11], 'x');
  ASSERT_EQ(MX_get_release(31, buf), 0);
  EXPECT_EQ(std::string(buf).rfind("Morvex ", 0), 0u);
  buf[0] = 'y';
  EXPECT_EQ(MX_get_release(0, buf), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(buf[0], '\0');
}

// Every code the header defines has one row in the table, and no row is a
// code the header does not define.
TEST(ReturnCodes, TableAndHeaderAgree) {
  std::ifstream header(MORVEX_HEADER_PATH);
  ASSERT_TRUE(header.good());
  std::regex define("^#define (MX_RC_[A-Z_]+) +(-?[0-9]+)");
  std::set<int> headerCodes;
  std::string line;
  while (std::getline(header, line)) {
    std::smatch m;
    if (std::regex_search(line, m, define)) headerCodes.insert(std::stoi(m[2]));
  }
  int count = 0;
  const MxReturnCode *rows = mxl_return_codes(&count);
  std::set<int> tableCodes;
  for (int i = 0; i < count; ++i) EXPECT_TRUE(tableCodes.insert(rows[i].code).second) << rows[i].name;
  EXPECT_EQ(headerCodes, tableCodes);
  EXPECT_EQ(mxl_find_return_code(-518), nullptr);
}

// A child context made for a subproblem: its own lock and options, its print
// routed to the given sink, the root shared, and a relaxation drops integer
// types while the parent keeps them.
TEST(Subproblem, ChildCopiesTheModelAndRelaxesIntegers) {
  MX_context_ptr parent = nullptr;
  ASSERT_EQ(MX_new(&parent), 0);
  ASSERT_EQ(MX_add_vars(parent, 2, nullptr), 0);
  ASSERT_EQ(MX_add_cons(parent, 1, nullptr), 0);
  ASSERT_EQ(MX_set_var_type(parent, 1, MX_VARTYPE_INTEGER), 0);
  ASSERT_EQ(MX_set_var_upbnd(parent, 0, 4.0), 0);
  ASSERT_EQ(MX_set_con_eqbnd(parent, 0, 1.0), 0);

  std::string childOut;
  MX_puts *sink = [](const char *s, void *user) {
    *static_cast<std::string *>(user) += s;
    return 0;
  };
  MXL_context *child = mx_new_puts_subproblem(parent, sink, &childOut, nullptr, 1);
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(child->rootContext, parent);
  ASSERT_EQ(mx_copy_problem(parent, child, 0, 0), 0);
  EXPECT_EQ(child->n, 2);
  EXPECT_EQ(child->var.up[0], 4.0);
  EXPECT_EQ(child->con.lo[0], 1.0);
  EXPECT_EQ(child->var.type[1], MX_VARTYPE_CONTINUOUS);
  EXPECT_EQ(parent->var.type[1], MX_VARTYPE_INTEGER);
  EXPECT_EQ(child->changeLevel, 0);

  // The child is independent: changing it leaves the parent as it was.
  ASSERT_EQ(MX_set_var_upbnd(child, 0, 1.0), 0);
  EXPECT_EQ(parent->var.up[0], 4.0);
  EXPECT_EQ(MX_set_var_lobnd(child, 7, 0.0), MX_RC_BAD_VAR_INDEX);
  EXPECT_NE(childOut.find("ERROR: Variable index 7 outside of range."), std::string::npos);
  EXPECT_EQ(parent->fatalError, 0);

  MXL_context *solved = mx_new_puts_subproblem(parent, nullptr, nullptr, nullptr, 6);
  ASSERT_EQ(mx_copy_problem(parent, solved, 1, 1), 0);
  EXPECT_EQ(solved->changeLevel, -1);
  EXPECT_EQ(solved->var.type[1], MX_VARTYPE_INTEGER);
  EXPECT_EQ(MX_free(&solved), 0);
  EXPECT_EQ(MX_free(&child), 0);
  EXPECT_EQ(MX_free(&parent), 0);
}

// At debug level 2 every call announces itself, and while a solve runs a
// change of the record behind the library's back is reported.
TEST(DebugChecksum, WarnsWhenTheRecordChangesDuringASolve) {
  MX_context_ptr kc = nullptr;
  ASSERT_EQ(MX_new(&kc), 0);
  ASSERT_EQ(MX_add_vars(kc, 3, nullptr), 0);
  PrintCapture out(kc);
  kc->opt.debug = 2;
  int n = 0;
  ASSERT_EQ(MX_get_number_vars(kc, &n), 0);
  EXPECT_EQ(out.take(), "--- Debug: entered MX_get_number_vars, status=0\n");
  kc->solveInProgress = 1;
  kc->debugChecksum = computeDebugCheckSum(kc);
  ASSERT_EQ(MX_get_number_vars(kc, &n), 0);
  EXPECT_EQ(out.take(), "--- Debug: entered MX_get_number_vars, status=0\n");
  kc->var.x[1] = 1234.0;  // an application writing through a stale pointer
  ASSERT_EQ(MX_get_number_vars(kc, &n), 0);
  EXPECT_EQ(out.take(),
            "--- Debug: entered MX_get_number_vars, status=0\n"
            "---   WARNING: MXL_context corrupted by application!\n");
  kc->solveInProgress = 0;
  EXPECT_EQ(MX_free(&kc), 0);
}
