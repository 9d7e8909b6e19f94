// The frame of exported calls: handles, poisoning, release text.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "morvex.h"

TEST(Frame, FreeRejectsBadHandles) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(MX_free(nullptr), MX_RC_BAD_KCPTR);
  EXPECT_NE(testing::internal::GetCapturedStdout().find(
                "WARNING: MX_free() was passed a NULL handle (pointer to pointer)."),
            std::string::npos);
  MX_context_ptr ctx = nullptr;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(MX_free(&ctx), MX_RC_BAD_KCPTR);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Frame, NewAndFree) {
  MX_context_ptr ctx = nullptr;
  ASSERT_EQ(MX_new(&ctx), 0);
  ASSERT_NE(ctx, nullptr);
  EXPECT_EQ(MX_free(&ctx), 0);
  EXPECT_EQ(ctx, nullptr);
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
