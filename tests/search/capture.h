#pragma once

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

struct StdoutCapture {
    StdoutCapture() { fflush(stdout), testing::internal::CaptureStdout(); }
    std::string take() { return fflush(stdout), testing::internal::GetCapturedStdout(); }
};
