#include "window/windowcapture.h"

#include <gtest/gtest.h>

TEST(WindowCapture, SizeComesFromTheHeightVariable)
{
    const std::pair<std::optional<QString>, int> widths[] = {
        {"600", 900}, {"1400", 1400},   {std::nullopt, 1180}, {"abc", 1180},
        {"", 1180},   {" 1400", 1180},  {"1400 ", 1180},      {"1.2e3", 1200},
        {"-5", 900},  {"1400px", 1180}, {"inf", 1180},
    };
    for (const auto &[value, width] : widths) {
        EXPECT_EQ(WindowCapture::captureSize(value), QSize(width, 740))
            << value.value_or("(unset)").toStdString();
    }
}
