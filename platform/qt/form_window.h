#pragma once
// The window of one form, built from the form's controls. The form's logical area is drawn scaled
// to the window, keeping its aspect ratio (centred, with a darker band around it); every control
// widget sits at its logical rectangle times the scale, and mouse positions go back to the game in
// logical pixels.
#include <QElapsedTimer>
#include <QImage>
#include <QPixmap>
#include <QRegion>
#include <QTimer>
#include <QWidget>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/surface.h"

namespace bm {
class Control;
class Form;
}  // namespace bm

namespace bm::qt {

class CardScaleUse;
class QtUi;

// Game text to and from Qt text: the game keeps one byte a character, Latin-1.
QString toQString(const std::string& text);
std::string fromQString(const QString& text);
// The game joins lines with a carriage return alone; Qt wants line feeds.
QString toDisplayLines(const std::string& text);

class FormWindow : public QWidget {
  public:
    FormWindow(QtUi& ui, Form& form);
    ~FormWindow() override;

    Form& form() const { return form_; }
    void formChanged();
    void controlChanged(Control& control);
    void surfaceChanged(Surface& surface);
    void focusChanged(Control& control);
    // Hides the window without unloading the form (the program is ending).
    void hideForEnd();

    double scale() const { return scale_; }
    QPointF origin() const { return origin_; }
    // A window position in the form's logical pixels.
    QPointF toLogical(QPointF windowPos) const;
    // A logical rectangle of the form in window coordinates (edges rounded separately, so
    // neighbouring rectangles stay neighbours).
    QRect toWindow(int x, int y, int width, int height) const;
    QWidget* widgetOf(const Control& control) const;
    Control* controlOf(const QWidget* widget) const;
    QtUi& ui() const { return ui_; }
    // Whether the window's size is still changing (it settles a moment after the last change).
    bool sizeChanging() const { return composeTimer_.isActive(); }
    // A control drew a quick stand-in while the size was changing: the window is drawn again
    // once the size has settled.
    void standInDrawn() { standInsDrawn_ = true; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

  private:
    struct View;
    void createViews();
    void apply(View& view);
    void relayout();
    void updateScale();
    void applyWindowKind();
    void applySize(bool showing);
    void place();
    bool handleKey(QObject* watched, QKeyEvent* event);
    bool handleMouse(View& view, QMouseEvent* event);
    bool paintSurface(QPainter& p, const QRegion& region);
    // The largest size the window may take: twice the whole desktop.
    QSize largestSize() const;
    void reserveBuffer();
    void findDetails(double dpr);
    bool composable() const;
    bool compose();
    void redrawCards();
    void dirty(QWidget* target, const QRect& area);
    void invalidate(const std::vector<CardDraw>& before, const std::vector<CardDraw>& after,
                    QWidget* target, QPointF origin);

    QtUi& ui_;
    Form& form_;
    std::vector<std::unique_ptr<View>> views_;
    std::unordered_map<const Control*, View*> byControl_;
    std::unordered_map<const QObject*, View*> byWidget_;
    std::vector<CardDraw> shownDraws_;  // the form surface as last announced
    std::unique_ptr<CardScaleUse> cardScale_;
    // The form's own drawing at the window's device size, in the pixel format of the window's
    // buffer so that copying from it is a plain copy.
    QImage composed_;
    QImage::Format composeFormat_ = QImage::Format_ARGB32_Premultiplied;
    QTimer composeTimer_;
    QSize settled_;  // the device size the window last settled at
    struct {
        const uchar* at = nullptr;  // where the window's buffer was when it was last looked at
        std::size_t bytes = 0;      // the size of the shared memory it lies in (0: none)
        bool known = false;         // whether Qt has kept that memory since
        // The buffer whose pages were last mapped in before drawing, and how many of its bytes
        // (from its start) are mapped in.
        const uchar* mappedAt = nullptr;
        qsizetype mapped = 0;
    } buffer_;
    QElapsedTimer sinceResize_;  // since the window's size last changed while it was shown
    bool standInsDrawn_ = false;
    QRegion stale_;              // parts of composed_ to draw again
    QRegion details_;            // device pixels of composed_ that are more than the form colour
    QRect feltArea_;             // the form's area in device pixels (the band lies around it)
    uint32_t composedBack_ = 0;  // the form colour composed_ was drawn with
    double scale_ = 1.0;
    QPointF origin_;
    QSize logicalSize_;    // the form size the window was last sized for
    QSize laidOut_;        // the window size the controls were last placed for
    bool sized_ = false;   // a resizable window has had its first size
    bool placed_ = false;  // positioned for the current load
    int placedLeft_ = -1, placedTop_ = -1;
    bool ending_ = false;
    QWidget* ownerWindow_ = nullptr;
    Qt::WindowFlags kind_;
    // Key-down results handed from a shortcut check to the key press that follows it, oldest
    // first. With assistive technology on, Qt holds key presses back until a screen reader has
    // let them pass, so several checked keys may wait for their presses.
    struct CheckedKey {
        int key = 0;
        int result = 0;
    };
    std::vector<CheckedKey> checkedKeys_;
    // The result waiting for `key`'s press, taken from the list when `take` is set.
    std::optional<int> checkedResult(int key, bool take);
    const QEvent* childKeyEvent_ = nullptr;  // a child's key event on its way up to the window
};

}  // namespace bm::qt
