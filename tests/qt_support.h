#pragma once
// What the tests of the real windows share: waiting on the Qt event loop, and a program on the Qt
// front end in a temporary program folder with stand-ins for the sounds and pictures.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <functional>
#include <memory>
#include <string>

#include "platform/qt/qt_ui.h"
#include "platform/runtime.h"
#include "program/program.h"

namespace bm::test {

// Runs the event loop until `done` holds or `seconds` have passed; true when it holds.
bool waitUntil(const std::function<bool()>& done, double seconds);

class QtProgramTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    QTemporaryDir dir;
    std::string folder;
    qt::QtUi ui;
    std::unique_ptr<Runtime> rt;
    std::unique_ptr<Program> program;
};

}  // namespace bm::test
