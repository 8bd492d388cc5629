// The Qt user interface on the offscreen platform: widgets built from a form, events mapped back to
// the game in logical pixels, card drawing, and the waits of the event loop.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "platform/controls.h"
#include "platform/errors.h"
#include "platform/form.h"
#include "platform/qt/form_window.h"
#include "platform/qt/qt_ui.h"
#include "platform/runtime.h"

namespace {

struct DemoForm : bm::Form {
    bm::Label score{*this, "lblScore"};
    bm::CommandButton deal{*this, "cmdDeal"};
    bm::PictureBox hand{*this, "picHand"};
    bm::Gauge progress{*this, "gauge"};
    bm::TextBox name{*this, "txtName"};
    bm::Timer tick{*this, "tmrTick"};
    std::vector<std::string> events;
    bool swallowMenu = true;

    explicit DemoForm(bm::Runtime& rt) : Form(rt, "frmDemo") {}
    void design() override {
        setCaption("Demo");
        setSize(200, 150);
        setBackColor(0x008000);
        setBorder(bm::Border::Sizable);
        score.move(10, 10, 100, 15);
        score.setCaption("Score");
        score.setAccessibleName("Score label");
        deal.move(120, 10, 70, 25);
        deal.setCaption("&Deal");
        hand.move(10, 40, 100, 100);
        name.move(120, 140, 70, 8);
        progress.move(10, 142, 100, 6);
    }
    void Form_MouseDown(int button, int shift, double x, double y) override {
        events.push_back("down " + std::to_string(button) + " " + std::to_string(shift) + " " +
                         std::to_string(int(x)) + "," + std::to_string(int(y)));
    }
    void Form_KeyDown(int& keyCode, int shift) override {
        events.push_back("key " + std::to_string(keyCode) + " " + std::to_string(shift));
        if (swallowMenu) swallowMenuKeys(keyCode, shift);
        if (keyCode == 'Q') keyCode = 0;
    }
};

class QtUiTest : public ::testing::Test {
  protected:
    void SetUp() override {
        rt.dispatch([&] { form.show(); });
        QApplication::processEvents();
    }
    bm::qt::FormWindow& window() { return *ui.window(form); }
    template <typename W>
    W* child(const char* name) {
        return window().findChild<W*>(QString::fromLatin1(name));
    }
    void setScale2() {  // the 200 x 150 form at twice its size, centred in a wider window
        window().resize(500, 300);
        QApplication::processEvents();
    }

    bm::qt::QtUi ui;
    bm::Runtime rt{ui, "."};
    DemoForm form{rt};
};

TEST_F(QtUiTest, WidgetsMirrorTheControls) {
    EXPECT_EQ(window().objectName(), "frmDemo");
    EXPECT_EQ(window().windowTitle(), "Demo");
    auto* label = child<QLabel>("lblScore");
    auto* button = child<QPushButton>("cmdDeal");
    ASSERT_TRUE(label && button && child<QWidget>("picHand") && child<QWidget>("gauge"));
    EXPECT_EQ(label->accessibleName(), "Score label");
    EXPECT_EQ(button->accessibleName(), "&Deal");  // the caption when none is set

    form.score.setCaption("Rock && Roll\rline two");
    EXPECT_EQ(label->text(), "Rock & Roll\nline two");
    form.score.setVisible(false);
    EXPECT_TRUE(label->isHidden());
    form.setCaption("Table");
    EXPECT_EQ(window().windowTitle(), "Table");
}

TEST_F(QtUiTest, ButtonClickReachesTheGameWithItsMouseEvents) {
    // The game draws the button pressed and raised itself, as the take-score button does.
    form.deal.onMouseDown = [&](int b, int, double, double) {
        form.events.push_back("bdown " + std::to_string(b));
        form.deal.setPressed(true);
    };
    form.deal.onMouseUp = [&](int b, int, double, double) {
        form.events.push_back("bup " + std::to_string(b));
        form.deal.setPressed(false);
    };
    form.deal.onClick = [&] { form.events.push_back("click"); };
    QTest::mouseClick(child<QPushButton>("cmdDeal"), Qt::LeftButton);
    EXPECT_EQ(form.events, (std::vector<std::string>{"bdown 1", "bup 1", "click"}));

    form.events.clear();
    form.deal.setEnabled(false);
    QTest::mouseClick(child<QPushButton>("cmdDeal"), Qt::LeftButton);
    form.deal.setEnabled(true);
    form.setEnabled(false);  // a disabled form takes no input
    QTest::mouseClick(child<QPushButton>("cmdDeal"), Qt::LeftButton);
    EXPECT_TRUE(form.events.empty());
}

TEST_F(QtUiTest, MousePositionsAreLogicalAtAnyScale) {
    setScale2();
    EXPECT_DOUBLE_EQ(window().scale(), 2.0);
    EXPECT_EQ(child<QWidget>("picHand")->geometry(), QRect(50 + 20, 80, 200, 200));
    QTest::mousePress(&window(), Qt::LeftButton, Qt::ShiftModifier, QPoint(50 + 301, 121));
    QTest::mouseRelease(&window(), Qt::LeftButton, Qt::ShiftModifier, QPoint(50 + 301, 121));
    QTest::mousePress(&window(), Qt::RightButton, {}, QPoint(20, 100));  // the band beside the form
    EXPECT_EQ(form.events, (std::vector<std::string>{"down 1 1 150,60"}));

    std::vector<std::string> box;
    form.hand.onMouseDown = [&](int b, int, double x, double y) {
        box.push_back(std::to_string(b) + " " + std::to_string(int(x)) + "," +
                      std::to_string(int(y)));
    };
    QTest::mousePress(child<QWidget>("picHand"), Qt::RightButton, {}, QPoint(41, 61));
    EXPECT_EQ(box, (std::vector<std::string>{"2 20,30"}));
}

TEST_F(QtUiTest, CardsArePaintedWhereTheSurfaceSays) {
    setScale2();
    form.surface().drawCard(120, 40, 54, 1, 0x00FFFF);
    auto cyanShare = [&](QRect logical) {
        const QImage shot = window().grab().toImage();
        int cyan = 0, all = 0;
        for (int y = logical.top(); y <= logical.bottom(); ++y)
            for (int x = logical.left(); x <= logical.right(); ++x, ++all) {
                const QColor c = shot.pixelColor(50 + 2 * x, 2 * y);
                cyan += c.red() < 110 && c.green() > 170 && c.blue() > 170;
            }
        return double(cyan) / all;
    };
    const QRect card(125, 45, 61, 86), table(0, 40, 8, 100);
    EXPECT_GT(cyanShare(card), 0.3);
    EXPECT_EQ(cyanShare(table), 0.0);
    EXPECT_EQ(window().grab().toImage().pixelColor(50 + 2 * 4, 2 * 60), QColor(0, 0x80, 0));

    form.surface().drawCard(120, 40, 0, 8, 0x008000);  // erased with the table's colour
    EXPECT_EQ(cyanShare(card), 0.0);
}

TEST_F(QtUiTest, KeysGoToTheFormFirst) {
    auto* edit = child<QLineEdit>("txtName");
    form.name.setFocus();
    int enter = 0;
    form.name.onKeyPress = [&](int k) { enter += k == 13; };
    QTest::keyClicks(edit, "Ann");
    EXPECT_EQ(form.name.text(), "Ann");
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_EQ(enter, 1);
    EXPECT_EQ(form.events.back(), "key 13 0");

    form.events.clear();
    QTest::keyClick(edit, Qt::Key_F10);
    QTest::keyClick(edit, Qt::Key_Q);  // swallowed keys reach no control
    QTest::keyClick(edit, Qt::Key_B);
    EXPECT_EQ(form.events, (std::vector<std::string>{"key 121 0", "key 81 0", "key 66 0"}));
    EXPECT_EQ(form.name.text(), "Annb");

    // An access key swallowed by the form does not press its button.
    int clicks = 0;
    form.deal.onClick = [&] { ++clicks; };
    auto* button = child<QPushButton>("cmdDeal");
    QTest::keyClick(edit, Qt::Key_D, Qt::AltModifier);
    EXPECT_FALSE(button->isDown());
    form.swallowMenu = false;
    QTest::keyClick(edit, Qt::Key_D, Qt::AltModifier);
    EXPECT_TRUE(button->isDown());  // an access key shows the button down, then clicks it
    ui.waitFor([&] { return clicks > 0; }, ui.now() + 2);
    EXPECT_EQ(clicks, 1);
}

TEST_F(QtUiTest, WaitsBlockWithoutSpinning) {
    double t0 = ui.now();
    const std::clock_t cpu0 = std::clock();
    ui.waitFor([] { return false; }, t0 + 0.3);
    const double waited = ui.now() - t0;
    EXPECT_GE(waited, 0.3);
    EXPECT_LT(waited, 3.0);
    EXPECT_LT(double(std::clock() - cpu0) / CLOCKS_PER_SEC, 0.15);

    bool done = false, posted = false;
    ui.post([&] { posted = true; });
    EXPECT_FALSE(posted);
    ui.doEvents();
    EXPECT_TRUE(posted);

    int ticks = 0;
    form.tick.onTimer = [&] { done = ++ticks == 3; };
    form.tick.setInterval(10);
    form.tick.setEnabled(true);
    t0 = ui.now();
    ui.waitFor([&] { return done; }, t0 + 5);
    EXPECT_EQ(ticks, 3);
    EXPECT_LT(ui.now() - t0, 2.0);
    form.tick.setEnabled(false);
    ui.waitFor([] { return false; }, ui.now() + 0.05);
    EXPECT_EQ(ticks, 3);
}

TEST_F(QtUiTest, FilesBehindSoundsAndPictures) {
    QTemporaryDir dir;
    const std::string wav = dir.filePath("tick.wav").toStdString();
    {
        const uint32_t rate = 8000, bytes = rate / 4;  // a quarter second of 8-bit silence
        auto le = [](uint32_t v, int n) {
            std::string s;
            for (int i = 0; i < n; ++i) s += char(v >> (8 * i));
            return s;
        };
        std::ofstream(wav, std::ios::binary)
            << "RIFF" << le(36 + bytes, 4) << "WAVEfmt " << le(16, 4) << le(1, 2) << le(1, 2)
            << le(rate, 4) << le(rate, 4) << le(1, 2) << le(8, 2) << "data" << le(bytes, 4)
            << std::string(bytes, char(0x80));
    }
    double t0 = ui.now();
    ui.playSound(wav, 0);
    EXPECT_GE(ui.now() - t0, 0.25);
    t0 = ui.now();
    ui.playSound(wav, bm::snd::kAsync);
    ui.playSound(dir.filePath("missing.wav").toStdString(), 0);
    EXPECT_LT(ui.now() - t0, 0.2);

    const std::string png = dir.filePath("p.png").toStdString(),
                      bad = dir.filePath("b.png").toStdString();
    QImage(7, 5, QImage::Format_RGB32).save(QString::fromStdString(png));
    std::ofstream(bad) << "not a picture";
    EXPECT_EQ(ui.pictureSize(png).width, 7);
    auto errorOf = [&](const std::string& path) {
        try {
            ui.pictureSize(path);
        } catch (const bm::RuntimeError& e) {
            return e.number();
        }
        return 0;
    };
    EXPECT_EQ(errorOf(bad), bm::err::kInvalidPicture);
    EXPECT_EQ(errorOf(dir.filePath("none.png").toStdString()), bm::err::kFileNotFound);
}

}  // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication app(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 9));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
