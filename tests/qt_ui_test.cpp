// The Qt user interface on the offscreen platform: widgets built from a form, events mapped back to
// the game in logical pixels, card drawing, and the waits of the event loop.
#include <gtest/gtest.h>

#include <QApplication>
#include <QBackingStore>
#include <QDir>
#include <QFile>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <sys/resource.h>

#include "platform/controls.h"
#include "platform/errors.h"
#include "platform/form.h"
#include "platform/qt/card_painter.h"
#include "platform/qt/form_window.h"
#include "platform/qt/pages.h"
#include "platform/qt/qt_ui.h"
#include "platform/qt/sound.h"
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

TEST_F(QtUiTest, ANewSizeShowsItsCardsAtOnceAndSharpensThemAfter) {
    const QColor cyan(0x00, 0xFF, 0xFF);
    auto waitForCards = [&] {
        QObject receiver;
        bool done = false;
        bm::qt::whenCardsRendered(&receiver, [&] { done = true; });
        ui.waitFor([&] { return done; }, ui.now() + 10);
        return done;
    };
    setScale2();
    form.surface().drawCard(120, 40, 54, 1, 0x00FFFF);
    window().grab();
    ASSERT_TRUE(waitForCards());

    // At 2.6 the card lies at (65 + 120 * 2.6, 40 * 2.6), 184 x 249 device pixels.
    window().resize(650, 390);  // and grabbed at once: the worker's cards arrive through events
    const QImage standIn = window().grab().toImage();
    // The card as the cache renders it at 2.6 (in 1/64 steps), made here without the cache.
    QImage exact(184, 249, QImage::Format_ARGB32_Premultiplied);
    exact.fill(Qt::transparent);
    {
        QPainter p(&exact);
        p.scale(184.0 / bm::qt::kCardWidth, 249.0 / bm::qt::kCardHeight);
        bm::qt::paintCard(p, 0, 0, 54, 1, cyan);
    }
    auto differing = [&](const QImage& shot) {
        int n = 0;
        for (int y = 6; y < exact.height() - 6; ++y)
            for (int x = 6; x < exact.width() - 6; ++x)
                n += shot.pixel(377 + x, 104 + y) != exact.pixel(x, y);
        return n;
    };
    EXPECT_GT(differing(standIn), 0);  // the card from the nearest size, stretched
    ASSERT_TRUE(waitForCards());
    const QImage sharp = window().grab().toImage();
    EXPECT_EQ(differing(sharp), 0);  // then exactly the card of this size
    // Once the size has settled the table is composed once and copied from then on: the same
    // picture, but for the button, which stood in stretched while the size changed.
    ui.waitFor([] { return false; }, ui.now() + 0.6);
    const QImage settled = window().grab().toImage();
    const QRect deal = child<QPushButton>("cmdDeal")->geometry();
    EXPECT_NE(sharp.copy(deal), settled.copy(deal));
    auto withoutButton = [&](QImage shot) {
        QPainter(&shot).fillRect(deal, Qt::magenta);
        return shot;
    };
    EXPECT_EQ(withoutButton(settled), withoutButton(sharp));

    // Removing the card repaints the felt where it lay.
    form.surface().drawCard(120, 40, 0, 8, 0x008000);
    EXPECT_EQ(window().grab().toImage().pixelColor(377 + 90, 104 + 120), QColor(0, 0x80, 0));
}

// A control's text drawn before a drag stands in, stretched, on the drag's steps; the window shows
// it drawn for its size again once the size has settled.
TEST_F(QtUiTest, AButtonStandsInDuringADragAndIsDrawnAfreshAfter) {
    setScale2();
    ui.waitFor([] { return false; }, ui.now() + 0.6);
    QPushButton* deal = child<QPushButton>("cmdDeal");
    auto shown = [&] {  // what the window last drew there, without drawing it again
        QApplication::processEvents();
        QPaintDevice* buffer = window().backingStore()->paintDevice();
        EXPECT_EQ(buffer->devType(), QInternal::Image);
        return static_cast<QImage*>(buffer)
            ->copy(deal->geometry())
            .convertToFormat(QImage::Format_RGB32);
    };
    window().resize(560, 340);  // a first step draws the button for its new size, and keeps it
    shown();
    window().resize(640, 380);  // the next stretches that drawing
    const QImage during = shown();
    ui.waitFor([] { return false; }, ui.now() + 0.6);
    const QImage after = shown();
    const QImage drawn =
        window().grab().toImage().copy(deal->geometry()).convertToFormat(QImage::Format_RGB32);
    EXPECT_NE(during, drawn);
    EXPECT_EQ(after, drawn);
}

// Child windows cut what the form paints into many rectangles, and each is drawn on its own: a
// repaint of such a region shows in every rectangle what a repaint of the whole window shows, while
// the size is still changing (the form drawn directly, cards standing in) and once it has settled
// (the form copied from its composed drawing).
TEST_F(QtUiTest, ARepaintInPiecesMatchesAWholeRepaint) {
    setScale2();
    form.surface().drawCard(120, 40, 54, 1, 0x00FFFF);
    form.surface().drawCard(20, 60, 12, 1, 0xFF0000);
    form.surface().drawCard(60, 80, 30, 0, 0);
    QRegion pieces;  // a grid of rectangles with gaps, across the cards, the felt and the band
    for (int y = 3; y < 300; y += 41)
        for (int x = 5; x < 500; x += 53) pieces += QRect(x, y, 37 + (x + y) % 11, 29);
    auto mismatches = [&] {
        const QImage whole = window().grab().toImage();
        QImage parts(whole.size(), whole.format());
        parts.fill(Qt::magenta);
        window().render(&parts, pieces.boundingRect().topLeft(), pieces);
        int n = 0, inside = 0;
        for (const QRect& r : pieces.intersected(parts.rect()))
            for (int y = r.top(); y <= r.bottom(); ++y)
                for (int x = r.left(); x <= r.right(); ++x, ++inside)
                    n += parts.pixel(x, y) != whole.pixel(x, y);
        EXPECT_GT(inside, 20000);
        return n;
    };
    window().resize(520, 310);  // a new size: cards stand in until the worker's arrive
    EXPECT_EQ(mismatches(), 0);
    QObject receiver;
    bool rendered = false;
    bm::qt::whenCardsRendered(&receiver, [&] { rendered = true; });
    ui.waitFor([&] { return rendered; }, ui.now() + 10);
    EXPECT_EQ(mismatches(), 0);
    ui.waitFor([] { return false; }, ui.now() + 0.6);  // composed by now
    EXPECT_EQ(mismatches(), 0);
}

// A settled window's repaint fills and copies straight into the window's buffer, and buttons draw
// from their last drawing: what reaches the buffer is what the painter draws, and a button's
// drawing follows its caption and state.
TEST_F(QtUiTest, TheWindowBufferHoldsWhatIsDrawn) {
    setScale2();
    form.surface().drawCard(120, 40, 54, 1, 0x00FFFF);
    form.surface().drawCard(20, 60, 12, 1, 0xFF0000);
    window().grab();
    QObject receiver;
    bool rendered = false;
    bm::qt::whenCardsRendered(&receiver, [&] { rendered = true; });
    ui.waitFor([&] { return rendered; }, ui.now() + 10);
    ui.waitFor([] { return false; }, ui.now() + 0.6);  // composed by now
    child<QLineEdit>("txtName")->setFocus();           // disabling the button then moves no focus
    QApplication::processEvents();
    auto buffer = [&] {
        window().repaint();
        QPaintDevice* device = window().backingStore()->paintDevice();
        EXPECT_EQ(device->devType(), QInternal::Image);
        return static_cast<QImage*>(device)
            ->copy(QRect(QPoint(), window().size()))
            .convertToFormat(QImage::Format_RGB32);
    };
    auto drawn = [&] { return window().grab().toImage().convertToFormat(QImage::Format_RGB32); };
    const QImage first = buffer();
    EXPECT_EQ(first, drawn());
    EXPECT_EQ(first.pixelColor(50 + 2 * 4, 2 * 120), QColor(0, 0x80, 0));  // the felt
    EXPECT_EQ(first.pixelColor(10, 150), QColor(0, 0x80, 0).darker(160));  // the band beside it

    // The button's drawing, straight and then kept, is what a plain button of the same make
    // draws.
    QPushButton* deal = child<QPushButton>("cmdDeal");
    QPushButton plain;
    plain.setFont(deal->font());
    plain.setPalette(deal->palette());
    plain.setText(deal->text());
    plain.resize(deal->size());
    auto drawing = [](QWidget* w) {
        QImage image(w->size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        w->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
        return image;
    };
    EXPECT_EQ(drawing(deal), drawing(&plain));
    EXPECT_EQ(drawing(deal), drawing(&plain));
    const QRect button = deal->geometry();
    auto feltShare = [](const QImage& part) {  // how much of a part shows only the felt
        int felt = 0;
        for (int y = 0; y < part.height(); ++y)
            for (int x = 0; x < part.width(); ++x)
                felt += part.pixelColor(x, y) == QColor(0, 0x80, 0);
        return double(felt) / (part.width() * part.height());
    };
    EXPECT_LT(feltShare(first.copy(button)), 0.1);  // the button is drawn in the window's buffer
    form.deal.setCaption("Again");
    QApplication::processEvents();
    const QImage again = buffer();
    EXPECT_NE(again.copy(button), first.copy(button));
    EXPECT_EQ(again, drawn());
    form.deal.setEnabled(false);
    QApplication::processEvents();
    EXPECT_NE(buffer().copy(button), again.copy(button));
    form.deal.setEnabled(true);
    form.deal.setCaption("&Deal");
    QApplication::processEvents();
    EXPECT_EQ(buffer(), first);
}

// A resize far past any screen (one that no window manager vetted) is taken back to twice the
// desktop, so the window's buffer stays bounded; the form still fills the window.
TEST_F(QtUiTest, AHugeResizeIsTakenBack) {
    const QSize largest = QGuiApplication::primaryScreen()->virtualSize() * 2;
    window().resize(30000, 30000);
    QApplication::processEvents();
    EXPECT_EQ(window().size(), largest);
    EXPECT_EQ(window().maximumSize(), largest);
    window().resize(500, 300);
    QApplication::processEvents();
    EXPECT_EQ(window().size(), QSize(500, 300));
    EXPECT_DOUBLE_EQ(window().scale(), 2.0);
}

// Drawing into an image whose memory was mapped in ahead takes next to no page faults, where fresh
// memory takes one for each page it is drawn into.
TEST(Pages, AMappedInImageIsDrawnWithoutPageFaults) {
    constexpr int kSide = 1024;  // 4 MB of pixels
    constexpr std::size_t kBytes = std::size_t(kSide) * kSide * 4;
    auto faultsWhileFilling = [](bool mappedIn) {
        void* memory =
            mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) return -1l;
        QImage image(static_cast<uchar*>(memory), kSide, kSide,
                     QImage::Format_ARGB32_Premultiplied);
        if (mappedIn && !bm::qt::mapIn(image)) {
            munmap(memory, kBytes);
            return -2l;
        }
        rusage before{}, after{};
        getrusage(RUSAGE_THREAD, &before);
        image.fill(Qt::darkGreen);
        getrusage(RUSAGE_THREAD, &after);
        munmap(memory, kBytes);
        return after.ru_minflt - before.ru_minflt;
    };
    const long fresh = faultsWhileFilling(false);
    const long mapped = faultsWhileFilling(true);
    ASSERT_GE(fresh, 0);
    if (mapped == -2) GTEST_SKIP() << "this kernel cannot map memory in ahead";
    // Huge pages, where the system uses them for all memory, leave only a few faults either way.
    EXPECT_LT(mapped, fresh / 4 + 10) << "fresh memory took " << fresh << " faults";
}

// Mapping in memory that already holds a drawing (the part of a window's buffer a larger window
// takes back) leaves every byte of it as it was, whether one thread does it or two share it.
TEST(Pages, MappingInKeepsWhatTheMemoryHolds) {
    for (const int side : {200, 1024}) {  // 160 kB, and 4 MB (shared out between two threads)
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        for (int y = 0; y < side; ++y) {
            auto* row = reinterpret_cast<quint32*>(image.scanLine(y));
            for (int x = 0; x < side; ++x) row[x] = quint32(y) * 2654435761u ^ quint32(x);
        }
        const QImage before = image.copy();
        if (!bm::qt::mapIn(image)) GTEST_SKIP() << "this kernel cannot map memory in ahead";
        EXPECT_EQ(image, before) << side << " px";
        // A range that starts and ends inside pages is mapped in, and its bytes kept, too.
        EXPECT_TRUE(bm::qt::mapIn(image.constBits() + 100, std::size_t(image.sizeInBytes()) - 200));
        EXPECT_EQ(image, before) << side << " px";
    }
}

// While a window's size changes, a picture is drawn quickly from its copy at the last size; once
// the size has settled it is drawn smoothly scaled for the new size.
TEST_F(QtUiTest, PicturesSharpenOnceTheSizeSettles) {
    struct PictureForm : bm::Form {
        bm::Image image{*this, "imgShow"};
        explicit PictureForm(bm::Runtime& rt) : Form(rt, "frmPicture") {}
        void design() override {
            setSize(200, 150);
            setBorder(bm::Border::Sizable);
            image.move(10, 10, 100, 100);
            image.setStretch(true);
        }
    };
    QTemporaryDir dir;
    const QString file = dir.filePath("stripes.png");
    QImage stripes(40, 40, QImage::Format_RGB32);  // one-pixel stripes: scaling shows in them
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 40; ++x)
            stripes.setPixel(x, y, (x + y / 3) % 2 ? 0xFFFFFFFF : 0xFF0000FF);
    ASSERT_TRUE(stripes.save(file));
    PictureForm pf(rt);
    rt.dispatch([&] {
        pf.show();
        pf.image.setPicture(file.toStdString());
    });
    QWidget& w = *ui.window(pf);
    QWidget* image = w.findChild<QWidget*>("imgShow");
    ASSERT_NE(image, nullptr);
    auto settle = [&] { ui.waitFor([] { return false; }, ui.now() + 0.6); };
    auto smooth = [&] {
        return stripes.scaled(image->size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .convertToFormat(QImage::Format_RGB32);
    };
    auto shown = [&] {  // what the window last drew there, without drawing it again
        QApplication::processEvents();
        QPaintDevice* buffer = w.backingStore()->paintDevice();
        EXPECT_EQ(buffer->devType(), QInternal::Image);
        return static_cast<QImage*>(buffer)
            ->copy(QRect(image->mapTo(&w, QPoint()), image->size()))
            .convertToFormat(QImage::Format_RGB32);
    };
    w.resize(400, 300);
    QApplication::processEvents();
    settle();
    EXPECT_EQ(shown(), smooth());
    w.resize(460, 345);  // and looked at before the size settles
    QApplication::processEvents();
    EXPECT_NE(shown(), smooth());
    settle();
    EXPECT_EQ(shown(), smooth());
    rt.dispatch([&] { pf.unload(); });
}

TEST_F(QtUiTest, ALineThatJustFitsItsLabelStaysOneLineAtAnySize) {
    // A caption as wide as the label holds at the form's own size: glyphs fitted to whole pixels
    // make text a little wider at some sizes than its proportion, and it must not wrap there.
    auto* label = child<QLabel>("lblScore");
    ASSERT_TRUE(label);
    window().resize(200, 150);
    QApplication::processEvents();
    auto fits = [&](const std::string& text) {
        return QFontMetricsF(label->font(), label)
                   .horizontalAdvance(QString::fromStdString(text)) <=
               label->contentsRect().width();
    };
    std::string caption = "W";
    for (std::string longer = caption + "i"; fits(longer); longer += longer.size() % 3 ? "i" : "W")
        caption = longer;
    form.score.setCaption(caption);
    const QString text = QString::fromStdString(caption);
    for (int w = 150; w <= 700; w += 7) {
        window().resize(w, w * 3 / 4);
        QApplication::processEvents();
        const QFontMetricsF fm(label->font(), label);
        EXPECT_LE(fm.horizontalAdvance(text), label->contentsRect().width()) << "at width " << w;
        // Made only a little smaller than its proportion, if at all.
        const double proportion = 8.25 * 96 / label->logicalDpiY() * w / 200;
        EXPECT_GT(label->font().pointSizeF(), 0.95 * proportion) << "at width " << w;
    }
}

TEST_F(QtUiTest, TextTooLongForItsControlIsMadeSmallerToFit) {
    window().resize(200, 150);  // the form at its own size
    QApplication::processEvents();
    auto* label = child<QLabel>("lblScore");
    auto* button = child<QPushButton>("cmdDeal");
    ASSERT_TRUE(label && button);
    const qreal labelPoints = label->font().pointSizeF();
    const qreal buttonPoints = button->font().pointSizeF();
    auto wide = [](const QWidget* w, const QString& text) {
        return QFontMetricsF(w->font(), w).horizontalAdvance(text);
    };
    auto wrapped = [](const QLabel* l) {
        return QFontMetricsF(l->font(), l)
            .boundingRect(QRectF(l->contentsRect()), Qt::TextWordWrap, l->text())
            .size();
    };

    // A long name on one line: smaller, by at most half, and then it fits.
    form.score.setCaption("Bartholomew-Maximilian");
    form.deal.setCaption("Bartholo&mew");
    QApplication::processEvents();
    EXPECT_LT(label->font().pointSizeF(), labelPoints);
    EXPECT_GE(label->font().pointSizeF(), labelPoints / 2);
    EXPECT_LE(wide(label, "Bartholomew-Maximilian"), label->contentsRect().width());
    EXPECT_LT(button->font().pointSizeF(), buttonPoints);
    EXPECT_LE(wide(button, "Bartholomew"), button->width() - 4);

    // A label with room for lines wraps words before it shrinks; a word too long for a line
    // shrinks it until every line, and all the lines, fit.
    form.score.move(10, 10, 60, 50);
    form.score.setCaption("Take cards in runs");
    QApplication::processEvents();
    EXPECT_DOUBLE_EQ(label->font().pointSizeF(), labelPoints);
    form.score.setCaption("Maximilian-Bartholomew's pictures");
    QApplication::processEvents();
    EXPECT_LT(label->font().pointSizeF(), labelPoints);
    EXPECT_LE(wrapped(label).width(), label->contentsRect().width());
    EXPECT_LE(wrapped(label).height(), label->contentsRect().height());

    // Short text again gets the form's own size back.
    form.deal.setCaption("&Deal");
    QApplication::processEvents();
    EXPECT_DOUBLE_EQ(button->font().pointSizeF(), buttonPoints);
}

TEST_F(QtUiTest, WindowsOpenInsideTheScreen) {
    struct BigForm : bm::Form {
        bm::Label text{*this, "lblText"};
        BigForm(bm::Runtime& rt, const char* name, bm::Border border) : Form(rt, name) {
            border_ = border;
        }
        void design() override {
            setSize(1000, 700);  // larger than the offscreen screen of 800 x 600
            setBorder(border_);
            text.move(10, 10, 300, 16);
            text.setCaption("Readable");
        }
        bm::Border border_;
    };
    const QRect avail = QGuiApplication::primaryScreen()->availableGeometry();
    for (bm::Border border : {bm::Border::Sizable, bm::Border::Fixed}) {
        BigForm big(rt, border == bm::Border::Sizable ? "frmBig" : "frmBigFixed", border);
        rt.dispatch([&] { big.show(); });
        QApplication::processEvents();
        const QWidget& w = *ui.window(big);
        EXPECT_TRUE(avail.contains(w.geometry()))
            << w.geometry().width() << "x" << w.geometry().height();
        EXPECT_LE(w.minimumWidth(), avail.width());
        EXPECT_LE(w.minimumHeight(), avail.height());
        // Keeps its shape, and its text stays readable at the smallest size.
        EXPECT_NEAR(double(w.width()) / w.height(), 1000.0 / 700, 0.01);
        EXPECT_GE(w.minimumWidth(), 1000 * 3 / 4 - 1);
        rt.dispatch([&] { big.unload(); });
    }
}

TEST_F(QtUiTest, TheSoundLibraryLoadsWithTheFirstSound) {
    auto multimediaMapped = [] {
        QFile maps(QStringLiteral("/proc/self/maps"));
        return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("libQt6Multimedia");
    };
    QTemporaryDir dir;
    const std::string wav = dir.filePath("click.wav").toStdString();
    {
        std::ofstream out(wav, std::ios::binary);
        const char header[] =
            "RIFF\x2c\x00\x00\x00WAVEfmt \x10\x00\x00\x00\x01\x00\x01\x00"
            "\x40\x1f\x00\x00\x40\x1f\x00\x00\x01\x00\x08\x00"
            "data\x08\x00\x00\x00";
        out.write(header, sizeof header - 1);
        out << std::string(8, char(0x80));
    }
    bm::qt::SoundPlayer player;
    EXPECT_FALSE(multimediaMapped());
    EXPECT_DOUBLE_EQ(player.play(dir.filePath("none.wav").toStdString()), 0);
    EXPECT_FALSE(player.loaded());
    EXPECT_DOUBLE_EQ(player.play(wav), 0.001);
    EXPECT_TRUE(player.loaded());
    EXPECT_TRUE(multimediaMapped());
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

TEST_F(QtUiTest, AKeyHeldBackForAScreenReaderReachesTheFormOnce) {
    // Holds key presses and releases back and delivers copies of them later, as Qt's bridge to
    // assistive technology does while a screen reader may claim them.
    struct HoldKeys : QObject {
        bool eventFilter(QObject* to, QEvent* e) override {
            if ((e->type() != QEvent::KeyPress && e->type() != QEvent::KeyRelease) ||
                !e->spontaneous())
                return false;
            const auto* k = static_cast<QKeyEvent*>(e);
            QCoreApplication::postEvent(
                to, new QKeyEvent(k->type(), k->key(), k->modifiers(), k->nativeScanCode(),
                                  k->nativeVirtualKey(), k->nativeModifiers(), k->text(),
                                  k->isAutoRepeat(), k->count()));
            return true;
        }
    } hold;
    auto* edit = child<QLineEdit>("txtName");
    form.name.setFocus();
    QApplication::processEvents();
    qApp->installEventFilter(&hold);
    // Each press is let pass before the next key, as a screen reader answers at once.
    for (Qt::Key k : {Qt::Key_Q, Qt::Key_B, Qt::Key_B}) {  // Q: swallowed by the form
        QTest::keyClick(edit, k);
        QApplication::processEvents();
    }
    qApp->removeEventFilter(&hold);
    EXPECT_EQ(form.events, (std::vector<std::string>{"key 81 0", "key 66 0", "key 66 0"}));
    EXPECT_EQ(form.name.text(), "bb");
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
