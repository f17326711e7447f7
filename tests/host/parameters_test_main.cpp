// The parameter tests draw charts, and painting text needs a QGuiApplication.
#include "parameters/chart_application.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    const auto application = makeChartApplication(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
