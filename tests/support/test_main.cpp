#include "fixtures.h"

#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    twtest::installScriptedMessages();
    const int failed = RUN_ALL_TESTS();
    twtest::finishServer();
    return failed;
}
