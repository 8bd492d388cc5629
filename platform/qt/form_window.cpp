#include "platform/qt/form_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QStringDecoder>
#include <algorithm>
#include <cmath>

#include "platform/controls.h"
#include "platform/form.h"
#include "platform/qt/card_painter.h"
#include "platform/qt/qt_ui.h"
#include "platform/runtime.h"

namespace bm::qt {

// The game keeps its texts in a single-byte code page, Latin-1, one byte a character, as its
// fixed-length files store them.
QString toQString(const std::string& text) {
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

std::string fromQString(const QString& text) {
    return text.toLatin1().toStdString();
}

QString toDisplayLines(const std::string& text) {
    QString s = toQString(text);
    s.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    s.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return s;
}

namespace {

QColor toColor(uint32_t rgb) {
    return QColor(static_cast<int>((rgb >> 16) & 0xFF), static_cast<int>((rgb >> 8) & 0xFF),
                  static_cast<int>(rgb & 0xFF));
}

// The colour every control starts with; text boxes and buttons keep their native look with it.
constexpr uint32_t kDesignGrey = 0xC0C0C0;

int mouseButton(Qt::MouseButton b) {
    switch (b) {
        case Qt::LeftButton:
            return mouse::kLeft;
        case Qt::RightButton:
            return mouse::kRight;
        case Qt::MiddleButton:
            return mouse::kMiddle;
        default:
            return 0;
    }
}

int shiftState(Qt::KeyboardModifiers m) {
    return (m & Qt::ShiftModifier ? shift::kShift : 0) |
           (m & Qt::ControlModifier ? shift::kCtrl : 0) | (m & Qt::AltModifier ? shift::kAlt : 0);
}

// The key codes the game knows (those of the original platform's virtual keys); 0 for keys it has
// no code for.
int virtualKey(const QKeyEvent* e) {
    const int k = e->key();
    const bool keypad = e->modifiers() & Qt::KeypadModifier;
    if (k >= Qt::Key_A && k <= Qt::Key_Z) return k;
    if (k >= Qt::Key_0 && k <= Qt::Key_9) return keypad ? 96 + (k - Qt::Key_0) : k;
    if (k >= Qt::Key_F1 && k <= Qt::Key_F24) return key::kF1 + (k - Qt::Key_F1);
    switch (k) {
        case Qt::Key_Backspace:
            return 8;
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            return 9;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return key::kEnter;
        case Qt::Key_Shift:
            return 16;
        case Qt::Key_Control:
            return 17;
        case Qt::Key_Alt:
        case Qt::Key_AltGr:
            return 18;
        case Qt::Key_Pause:
            return 19;
        case Qt::Key_CapsLock:
            return 20;
        case Qt::Key_Escape:
            return 27;
        case Qt::Key_Space:
            return 32;
        case Qt::Key_PageUp:
            return 33;
        case Qt::Key_PageDown:
            return 34;
        case Qt::Key_End:
            return 35;
        case Qt::Key_Home:
            return 36;
        case Qt::Key_Left:
            return 37;
        case Qt::Key_Up:
            return 38;
        case Qt::Key_Right:
            return 39;
        case Qt::Key_Down:
            return 40;
        case Qt::Key_Insert:
            return 45;
        case Qt::Key_Delete:
            return 46;
        case Qt::Key_Asterisk:
            return keypad ? 106 : 0;
        case Qt::Key_Plus:
            return keypad ? 107 : 0;
        case Qt::Key_Minus:
            return keypad ? 109 : 189;
        case Qt::Key_Period:
            return keypad ? 110 : 190;
        case Qt::Key_Slash:
            return keypad ? 111 : 191;
        case Qt::Key_Semicolon:
            return 186;
        case Qt::Key_Equal:
            return 187;
        case Qt::Key_Comma:
            return 188;
        case Qt::Key_QuoteLeft:
            return 192;
        case Qt::Key_BracketLeft:
            return 219;
        case Qt::Key_Backslash:
            return 220;
        case Qt::Key_BracketRight:
            return 221;
        case Qt::Key_Apostrophe:
            return 222;
        default:
            return 0;
    }
}

// Label captions mark an access key with "&" and write a literal ampersand as "&&".
QString labelText(const std::string& caption) {
    QString in = toDisplayLines(caption), out;
    out.reserve(in.size());
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in[i] == QLatin1Char('&') && i + 1 < in.size()) ++i;
        out += in[i];
    }
    return out;
}

QFont fontFor(const FontSpec& style, double scale) {
    QFont f(style.serif ? QStringLiteral("DejaVu Serif") : QStringLiteral("DejaVu Sans"));
    f.setStyleHint(style.serif ? QFont::Serif : QFont::SansSerif);
    // Sizes are points at 96 pixels per inch, the resolution the forms were laid out for; a pixel
    // size keeps text in proportion to its control whatever the screen's own setting.
    f.setPixelSize(std::max(1, static_cast<int>(std::lround(style.size * 96.0 / 72.0 * scale))));
    f.setBold(style.bold);
    f.setItalic(style.italic);
    return f;
}

// Window rectangle covered by a card drawn at logical (x, y), generous by a pixel for repaints.
QRect cardArea(QPointF origin, double s, int x, int y) {
    return QRectF(origin.x() + x * s, origin.y() + y * s, kCardWidth * s, kCardHeight * s)
        .toAlignedRect()
        .adjusted(-1, -1, 1, 1);
}

// Replays a surface's card drawings. Each card is a pixmap rendered for the exact device scale and
// placed on whole device pixels, so it is copied 1:1 and stays crisp at any scale.
void paintDraws(QPainter& p, const std::vector<CardDraw>& draws, QPointF origin, double s,
                const QRect& clip) {
    const double dpr = p.device()->devicePixelRatioF();
    for (const CardDraw& d : draws) {
        if (!cardArea(origin, s, d.x, d.y).intersects(clip)) continue;
        const QPixmap& pm = cardPixmap(d.code, d.mode, toColor(d.colour), s * dpr);
        if (pm.isNull()) continue;
        const double x = std::round((origin.x() + d.x * s) * dpr) / dpr;
        const double y = std::round((origin.y() + d.y * s) * dpr) / dpr;
        p.drawPixmap(QRectF(x, y, pm.width() / dpr, pm.height() / dpr), pm, QRectF(pm.rect()));
    }
}

// A picture file scaled once for the size it is shown at.
class ScaledPicture {
  public:
    void set(const QPixmap& source) {
        if (source.cacheKey() == source_.cacheKey()) return;
        source_ = source;
        scaled_ = QPixmap();
    }
    bool isNull() const { return source_.isNull(); }
    QSize size() const { return source_.size(); }
    // The picture at `logical` size on a device with the given pixel ratio.
    const QPixmap& at(QSize logical, double dpr) {
        const QSize device = (QSizeF(logical) * dpr).toSize();
        if (scaled_.size() != device || scaled_.devicePixelRatio() != dpr) {
            scaled_ = device == source_.size()
                          ? source_
                          : source_.scaled(device, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            scaled_.setDevicePixelRatio(dpr);
        }
        return scaled_;
    }

  private:
    QPixmap source_, scaled_;
};

class ControlWidget : public QWidget {
  public:
    ControlWidget(FormWindow& window, Control& control)
        : QWidget(&window), window_(window), control_(control) {}
    void setPicture(const QPixmap& pm) { picture_.set(pm); }

  protected:
    FormWindow& window_;
    Control& control_;
    ScaledPicture picture_;
};

class ImageWidget : public ControlWidget {
  public:
    using ControlWidget::ControlWidget;

  protected:
    void paintEvent(QPaintEvent*) override {
        if (picture_.isNull() || width() <= 0 || height() <= 0) return;
        QPainter p(this);
        p.drawPixmap(0, 0, picture_.at(size(), devicePixelRatioF()));
    }
};

class PictureBoxWidget : public ControlWidget {
  public:
    PictureBoxWidget(FormWindow& window, Control& control) : ControlWidget(window, control) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

  protected:
    void paintEvent(QPaintEvent* e) override {
        QPainter p(this);
        p.fillRect(e->rect(), toColor(control_.backColor()));
        const double s = window_.scale();
        if (!picture_.isNull()) {
            // The picture sits at the top-left corner at its own size (scaled with the form).
            const QSize shown = (QSizeF(picture_.size()) * s).toSize();
            if (!shown.isEmpty()) p.drawPixmap(0, 0, picture_.at(shown, devicePixelRatioF()));
        }
        paintDraws(p, static_cast<PictureBox&>(control_).surface().draws(), QPointF(0, 0), s,
                   e->rect());
    }
};

class PanelWidget : public ControlWidget {
  public:
    PanelWidget(FormWindow& window, Control& control) : ControlWidget(window, control) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        const int w = width(), h = height();
        const int bevel = std::max(1, static_cast<int>(std::lround(2 * window_.scale())));
        p.fillRect(rect(), toColor(control_.backColor()));
        const QColor light(0xFF, 0xFF, 0xFF), dark(0x80, 0x80, 0x80);
        p.fillRect(0, 0, w, bevel, light);
        p.fillRect(0, 0, bevel, h, light);
        p.fillRect(0, h - bevel, w, bevel, dark);
        p.fillRect(w - bevel, 0, bevel, h, dark);
        const QRect inner = rect().adjusted(bevel, bevel, -bevel, -bevel);
        if (!picture_.isNull() && !inner.isEmpty()) {
            const QSize fit = picture_.size().scaled(inner.size(), Qt::KeepAspectRatio);
            if (!fit.isEmpty()) {
                const QPoint at = inner.topLeft() + QPoint((inner.width() - fit.width()) / 2,
                                                           (inner.height() - fit.height()) / 2);
                p.drawPixmap(at, picture_.at(fit, devicePixelRatioF()));
            }
        }
        if (!control_.caption().empty()) {
            p.setFont(font());
            p.setPen(toColor(control_.foreColor()));
            p.drawText(inner, Qt::AlignCenter | Qt::TextWordWrap,
                       toDisplayLines(control_.caption()));
        }
    }
};

class GaugeWidget : public ControlWidget {
  public:
    GaugeWidget(FormWindow& window, Control& control) : ControlWidget(window, control) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        const auto& g = static_cast<const Gauge&>(control_);
        const int w = width(), h = height();
        const int edge = std::max(1, static_cast<int>(std::lround(window_.scale())));
        const QColor light(0xFF, 0xFF, 0xFF), dark(0x80, 0x80, 0x80);
        p.fillRect(rect(), toColor(g.backColor()));
        // Sunken: dark above and to the left, light below and to the right.
        p.fillRect(0, 0, w, edge, dark);
        p.fillRect(0, 0, edge, h, dark);
        p.fillRect(0, h - edge, w, edge, light);
        p.fillRect(w - edge, 0, edge, h, light);
        const int span = g.maximum() - g.minimum();
        if (span <= 0) return;
        const double part = std::clamp(double(g.value() - g.minimum()) / span, 0.0, 1.0);
        const QRect inner = rect().adjusted(edge, edge, -edge, -edge);
        const int filled = static_cast<int>(std::lround(inner.width() * part));
        const uint32_t fore = g.foreColor();
        p.fillRect(QRect(inner.left(), inner.top(), filled, inner.height()),
                   fore ? toColor(fore) : QColor(0x20, 0x50, 0xC0));
    }
};

}  // namespace

struct FormWindow::View {
    Control* control = nullptr;
    QWidget* widget = nullptr;
    bool down = false;              // the pressed look last shown on a button
    bool held = false;              // the mouse holds a button down: Qt draws it and clicks it
    qint64 iconKey = 0;             // the picture a button's icon was made from
    bool afterDoubleClick = false;  // the release ending a double click is no click
    std::vector<CardDraw> shownDraws;
};

FormWindow::FormWindow(QtUi& ui, Form& form) : QWidget(nullptr), ui_(ui), form_(form) {
    setObjectName(QString::fromStdString(form.name()));
    setAttribute(Qt::WA_OpaquePaintEvent);
    installEventFilter(this);
    createViews();
}

FormWindow::~FormWindow() = default;

void FormWindow::createViews() {
    for (Control* c : form_.controls()) {
        QWidget* w = nullptr;
        switch (c->kind()) {
            case ControlKind::Label: {
                auto* label = new QLabel(this);
                label->setWordWrap(true);
                label->setTextFormat(Qt::PlainText);
                w = label;
                break;
            }
            case ControlKind::CommandButton: {
                auto* button = new QPushButton(this);
                button->setAutoDefault(false);
                connect(button, &QPushButton::clicked, this, [this, c] {
                    if (!ending_) c->fireClick();
                });
                w = button;
                break;
            }
            case ControlKind::TextBox: {
                auto* edit = new QLineEdit(this);
                connect(edit, &QLineEdit::textEdited, this, [c](const QString& text) {
                    static_cast<TextBox*>(c)->userEdit(fromQString(text));
                });
                w = edit;
                break;
            }
            case ControlKind::Image:
                w = new ImageWidget(*this, *c);
                break;
            case ControlKind::PictureBox:
                w = new PictureBoxWidget(*this, *c);
                break;
            case ControlKind::Panel:
                w = new PanelWidget(*this, *c);
                break;
            case ControlKind::Gauge:
                w = new GaugeWidget(*this, *c);
                break;
            case ControlKind::Timer:
            case ControlKind::FileList:
                break;
        }
        if (!w) continue;
        w->setObjectName(QString::fromStdString(c->name()));
        w->setAttribute(Qt::WA_NoMousePropagation);
        w->installEventFilter(this);
        auto view = std::make_unique<View>();
        view->control = c;
        view->widget = w;
        byControl_[c] = view.get();
        byWidget_[w] = view.get();
        views_.push_back(std::move(view));
    }
    // Labels and images are drawn on the form itself, beneath every other control.
    for (auto it = views_.rbegin(); it != views_.rend(); ++it) {
        ControlKind k = (*it)->control->kind();
        if (k == ControlKind::Label || k == ControlKind::Image) (*it)->widget->lower();
    }
    updateScale();
    for (auto& v : views_) apply(*v);
}

QPointF FormWindow::toLogical(QPointF windowPos) const {
    return (windowPos - origin_) / scale_;
}

QRect FormWindow::toWindow(int x, int y, int width, int height) const {
    auto edge = [](double v) { return static_cast<int>(std::lround(v)); };
    const int l = edge(origin_.x() + x * scale_), t = edge(origin_.y() + y * scale_);
    const int r = edge(origin_.x() + (x + width) * scale_);
    const int b = edge(origin_.y() + (y + height) * scale_);
    return QRect(l, t, r - l, b - t);
}

QWidget* FormWindow::widgetOf(const Control& control) const {
    auto it = byControl_.find(&control);
    return it == byControl_.end() ? nullptr : it->second->widget;
}

void FormWindow::updateScale() {
    const double w = std::max(1, form_.width()), h = std::max(1, form_.height());
    scale_ = std::min(width() / w, height() / h);
    if (!(scale_ > 0)) scale_ = 1.0;
    origin_ = QPointF((width() - w * scale_) / 2, (height() - h * scale_) / 2);
}

void FormWindow::relayout() {
    laidOut_ = size();
    updateScale();
    for (auto& v : views_) apply(*v);
    update();
}

void FormWindow::apply(View& v) {
    Control& c = *v.control;
    QWidget* w = v.widget;
    w->setGeometry(toWindow(c.left(), c.top(), c.width(), c.height()));
    w->setFont(fontFor(c.font(), scale_));
    w->setToolTip(toDisplayLines(c.toolTip()));
    w->setAccessibleName(toQString(c.accessibleName()));
    w->setEnabled(c.enabled());
    QPalette pal = w->palette();
    switch (c.kind()) {
        case ControlKind::Label: {
            auto* label = static_cast<QLabel*>(w);
            label->setText(labelText(c.caption()));
            Qt::Alignment h = c.alignment() == Align::Center  ? Qt::AlignHCenter
                              : c.alignment() == Align::Right ? Qt::AlignRight
                                                              : Qt::AlignLeft;
            label->setAlignment(h | Qt::AlignTop);
            pal.setColor(QPalette::WindowText, toColor(c.foreColor()));
            pal.setColor(QPalette::Window, toColor(c.backColor()));
            label->setPalette(pal);
            label->setAutoFillBackground(!c.transparent());
            break;
        }
        case ControlKind::CommandButton: {
            auto* button = static_cast<QPushButton*>(w);
            button->setText(toQString(c.caption()));
            QPixmap pm = ui_.picture(c.picture());
            const qint64 key = pm.isNull() ? 0 : pm.cacheKey();
            if (key != v.iconKey) {
                button->setIcon(pm.isNull() ? QIcon() : QIcon(pm));
                v.iconKey = key;
            }
            if (!pm.isNull())
                button->setIconSize(
                    (QSizeF(pm.size()) * scale_).toSize().boundedTo(w->size() - QSize(6, 6)));
            const bool pressed = static_cast<CommandButton&>(c).pressed();
            if (pressed != v.down) {
                // While the mouse holds the button Qt shows it down, and it needs its own state to
                // turn the release into a click.
                if (!v.held) button->setDown(pressed);
                v.down = pressed;
            }
            break;
        }
        case ControlKind::TextBox: {
            auto* edit = static_cast<QLineEdit*>(w);
            const int max = static_cast<TextBox&>(c).maxLength();
            edit->setMaxLength(max > 0 ? max : 32767);
            const QString text = toQString(c.caption());
            if (edit->text() != text) edit->setText(text);
            Qt::Alignment h = c.alignment() == Align::Center  ? Qt::AlignHCenter
                              : c.alignment() == Align::Right ? Qt::AlignRight
                                                              : Qt::AlignLeft;
            edit->setAlignment(h | Qt::AlignVCenter);
            pal.setColor(QPalette::Text, toColor(c.foreColor()));
            if (c.backColor() != kDesignGrey) pal.setColor(QPalette::Base, toColor(c.backColor()));
            edit->setPalette(pal);
            break;
        }
        case ControlKind::Image:
        case ControlKind::PictureBox:
        case ControlKind::Panel:
            static_cast<ControlWidget*>(w)->setPicture(ui_.picture(c.picture()));
            w->update();
            break;
        case ControlKind::Gauge:
            w->update();
            break;
        case ControlKind::Timer:
        case ControlKind::FileList:
            break;
    }
    w->setVisible(c.visible());
}

void FormWindow::controlChanged(Control& control) {
    auto it = byControl_.find(&control);
    if (it != byControl_.end()) apply(*it->second);
}

void FormWindow::invalidate(const std::vector<CardDraw>& before, const std::vector<CardDraw>& after,
                            QWidget* target, QPointF origin) {
    // Drawings kept in the same order need no repaint; everything else (new drawings, removed
    // ones, and those that moved in front of others) is repainted where it lies.
    auto same = [](const CardDraw& a, const CardDraw& b) {
        return a.x == b.x && a.y == b.y && a.code == b.code && a.mode == b.mode &&
               a.colour == b.colour;
    };
    size_t i = 0;
    for (const CardDraw& d : after) {
        size_t k = i;
        while (k < before.size() && !same(before[k], d)) ++k;
        if (k == before.size()) {
            target->update(cardArea(origin, scale_, d.x, d.y));
            continue;
        }
        for (; i < k; ++i) target->update(cardArea(origin, scale_, before[i].x, before[i].y));
        i = k + 1;
    }
    for (; i < before.size(); ++i)
        target->update(cardArea(origin, scale_, before[i].x, before[i].y));
}

void FormWindow::surfaceChanged(Surface& surface) {
    if (surface.owner() == nullptr) {
        invalidate(shownDraws_, surface.draws(), this, origin_);
        shownDraws_ = surface.draws();
        return;
    }
    auto it = byControl_.find(surface.owner());
    if (it == byControl_.end()) return;
    View& v = *it->second;
    invalidate(v.shownDraws, surface.draws(), v.widget, QPointF(0, 0));
    v.shownDraws = surface.draws();
}

void FormWindow::focusChanged(Control& control) {
    if (QWidget* w = widgetOf(control)) w->setFocus(Qt::OtherFocusReason);
}

void FormWindow::applyWindowKind() {
    Form* owner = form_.owner();
    QWidget* parent = owner && owner != &form_ ? ui_.window(*owner) : nullptr;
    const Qt::WindowFlags framed = parent ? Qt::Dialog : Qt::Window;
    Qt::WindowFlags flags;
    switch (form_.border()) {
        case Border::None:
            flags = Qt::FramelessWindowHint | (form_.caption().empty() ? Qt::Tool : framed);
            break;
        case Border::Tool:
            flags = Qt::Tool;
            break;
        case Border::Sizable:
            flags = framed;
            break;
        case Border::Fixed:
            flags =
                framed | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;
            if (!parent) flags |= Qt::WindowMinimizeButtonHint;
            break;
    }
    if (parent == ownerWindow_ && flags == kind_) return;
    setParent(parent, flags);  // hides the window
    ownerWindow_ = parent;
    kind_ = flags;
}

void FormWindow::applySize(bool showing) {
    const QSize logical(std::max(1, form_.width()), std::max(1, form_.height()));
    const bool resized = logical != logicalSize_;
    logicalSize_ = logical;
    auto scaled = [&](double s) {
        return QSize(static_cast<int>(std::lround(logical.width() * s)),
                     static_cast<int>(std::lround(logical.height() * s)));
    };
    if (form_.border() == Border::Sizable) {
        setMinimumSize(std::max(1, logical.width() / 4), std::max(1, logical.height() / 4));
        setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
        if (!sized_) {
            // A first showing takes about four fifths of the screen's height.
            QScreen* sc = screen() ? screen() : QGuiApplication::primaryScreen();
            const QRect avail = sc->availableGeometry();
            const double s = std::min(0.8 * avail.height() / logical.height(),
                                      0.95 * avail.width() / logical.width());
            resize(scaled(std::max(1.0, s)));
            sized_ = true;
        } else if (resized) {
            resize(scaled(scale_));
        }
    } else if (showing || resized || !sized_) {
        // Fixed windows follow the main window's scale, so dialogs match the table.
        const double s = ui_.referenceScale();
        setFixedSize(scaled(s));
        sized_ = true;
    }
    if (resized || size() != laidOut_) relayout();
}

void FormWindow::place() {
    QScreen* sc = ownerWindow_ && ownerWindow_->screen() ? ownerWindow_->screen()
                                                         : QGuiApplication::primaryScreen();
    const QRect avail = sc->availableGeometry();
    const QSize sz = size();
    QPoint pos;
    if (form_.left() >= 0 && form_.top() >= 0) {
        // The game places forms in screen pixels for their logical size; the scaled window keeps
        // the centre the game chose.
        const QPointF centre(form_.left() + form_.width() / 2.0,
                             form_.top() + form_.height() / 2.0);
        pos = sc->geometry().topLeft() + (centre - QPointF(sz.width(), sz.height()) / 2).toPoint();
    } else if (ownerWindow_ && ownerWindow_->isVisible()) {
        pos = ownerWindow_->frameGeometry().center() - QPoint(sz.width() / 2, sz.height() / 2);
    } else {
        pos = avail.center() - QPoint(sz.width() / 2, sz.height() / 2);
    }
    pos.setX(std::max(avail.left(), std::min(pos.x(), avail.right() + 1 - sz.width())));
    pos.setY(std::max(avail.top(), std::min(pos.y(), avail.bottom() + 1 - sz.height())));
    move(pos);
    placed_ = true;
    placedLeft_ = form_.left();
    placedTop_ = form_.top();
}

void FormWindow::formChanged() {
    if (ending_) return;
    setWindowTitle(toQString(form_.caption()));
    if (!form_.loaded() || !form_.visible()) {
        if (!form_.loaded()) placed_ = false;
        if (isVisible()) hide();
        return;
    }
    applyWindowKind();
    const bool showing = !isVisible();
    applySize(showing);
    if (!placed_ || form_.left() != placedLeft_ || form_.top() != placedTop_) place();
    if (showing) {
        show();
        raise();
        activateWindow();
        if (Control* c = form_.focusedControl()) focusChanged(*c);
    }
}

void FormWindow::hideForEnd() {
    ending_ = true;
    hide();
}

void FormWindow::resizeEvent(QResizeEvent*) {
    if (size() != laidOut_) relayout();
}

void FormWindow::paintEvent(QPaintEvent* e) {
    QPainter p(this);
    const QRect clip = e->rect();
    const QColor back = toColor(form_.backColor());
    const QRect area = toWindow(0, 0, std::max(1, form_.width()), std::max(1, form_.height()));
    if (!area.contains(clip)) {
        const QColor band = back.darker(160);
        for (const QRect& r : QRegion(clip).subtracted(area)) p.fillRect(r, band);
    }
    p.fillRect(area & clip, back);
    paintDraws(p, form_.surface().draws(), origin_, scale_, clip);
    if (form_.border() == Border::None) {
        // A window without a frame gets a thin raised edge of its own, so it stands out from what
        // lies behind it.
        const int w = std::max(1, static_cast<int>(std::lround(scale_)));
        p.fillRect(QRect(area.left(), area.top(), area.width(), w), back.lighter(150));
        p.fillRect(QRect(area.left(), area.top(), w, area.height()), back.lighter(150));
        p.fillRect(QRect(area.left(), area.bottom() - w + 1, area.width(), w), back.darker(170));
        p.fillRect(QRect(area.right() - w + 1, area.top(), w, area.height()), back.darker(170));
    }
}

void FormWindow::mousePressEvent(QMouseEvent* e) {
    const QPointF at = toLogical(e->position());
    if (at.x() < 0 || at.y() < 0 || at.x() >= form_.width() || at.y() >= form_.height()) return;
    form_.fireMouseDown(mouseButton(e->button()), shiftState(e->modifiers()), std::floor(at.x()),
                        std::floor(at.y()));
}

void FormWindow::mouseDoubleClickEvent(QMouseEvent* e) {
    const QPointF at = toLogical(e->position());
    if (at.x() < 0 || at.y() < 0 || at.x() >= form_.width() || at.y() >= form_.height()) return;
    form_.fireDblClick();
}

void FormWindow::closeEvent(QCloseEvent* e) {
    if (ending_ || !form_.loaded() || !form_.visible()) {
        e->accept();
        return;
    }
    if (!form_.enabled()) {  // a disabled window cannot be closed
        e->ignore();
        return;
    }
    form_.runtime().dispatch([this] { form_.unload(); });
    if (form_.loaded() && form_.visible())
        e->ignore();
    else
        e->accept();
}

bool FormWindow::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::ShortcutOverride:
        case QEvent::KeyPress:
            return handleKey(watched, static_cast<QKeyEvent*>(event));
        case QEvent::KeyRelease:
            pendingKey_ = 0;
            return ending_ || !form_.enabled();
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick: {
            // A disabled form takes no input; its controls keep their look.
            if (ending_ || !form_.enabled()) return true;
            if (watched == this) return false;
            auto it = byWidget_.find(watched);
            if (it == byWidget_.end()) return false;
            return handleMouse(*it->second, static_cast<QMouseEvent*>(event));
        }
        case QEvent::Wheel:
            return ending_ || !form_.enabled();
        default:
            return false;
    }
}

bool FormWindow::handleMouse(View& v, QMouseEvent* e) {
    Control& c = *v.control;
    if (!v.widget->isEnabled()) return true;
    // Buttons and text boxes keep their own mouse handling; the game sees the presses too.
    const bool native = c.kind() == ControlKind::CommandButton || c.kind() == ControlKind::TextBox;
    const int button = mouseButton(e->button()), shift = shiftState(e->modifiers());
    const double x = std::floor(e->position().x() / scale_);
    const double y = std::floor(e->position().y() / scale_);
    switch (e->type()) {
        case QEvent::MouseButtonPress:
            v.afterDoubleClick = false;
            v.held = native;
            c.fireMouseDown(button, shift, x, y);
            return !native;
        case QEvent::MouseButtonDblClick:
            if (native) {
                c.fireMouseDown(button, shift, x, y);
                return false;
            }
            v.afterDoubleClick = true;
            c.fireDblClick();
            return true;
        case QEvent::MouseButtonRelease: {
            const bool click = !native && !v.afterDoubleClick && button == mouse::kLeft &&
                               v.widget->rect().contains(e->position().toPoint());
            v.afterDoubleClick = false;
            c.fireMouseUp(button, shift, x, y);
            v.held = false;
            if (click) c.fireClick();
            return !native;
        }
        default:
            return false;
    }
}

bool FormWindow::handleKey(QObject* watched, QKeyEvent* e) {
    if (ending_ || !form_.enabled()) {
        e->accept();
        return true;
    }
    const bool fromChild = watched != this;
    if (!fromChild) {
        // A key event reaches the window after the focused control let it pass: the control's
        // filter has handled it already.
        const QWidget* focus = QApplication::focusWidget();
        const bool passedOn = e == childKeyEvent_ && focus && focus != this && isAncestorOf(focus);
        childKeyEvent_ = nullptr;
        if (passedOn) return false;
    }
    const int vk = virtualKey(e);
    // Every key goes to the form first. A key press is preceded by a shortcut check; the form sees
    // the key there, so a key it swallows can trigger no shortcut (an access key, say) either.
    int result;
    if (e->type() == QEvent::ShortcutOverride) {
        if (vk == 0) return false;
        result = form_.fireKeyDown(vk, shiftState(e->modifiers()));
        pendingKey_ = e->key();
        pendingResult_ = result;
    } else if (pendingKey_ != 0 && pendingKey_ == e->key()) {
        result = pendingResult_;
        pendingKey_ = 0;
    } else {
        result = vk == 0 ? -1 : form_.fireKeyDown(vk, shiftState(e->modifiers()));
    }
    if (fromChild) childKeyEvent_ = e;
    if (result == 0) {
        e->accept();
        return true;
    }
    if (e->type() == QEvent::KeyPress && fromChild &&
        (e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter)) {
        auto it = byWidget_.find(watched);
        if (it != byWidget_.end() && it->second->control->kind() == ControlKind::TextBox) {
            it->second->control->fireKeyPress(key::kEnter);
            e->accept();
            return true;
        }
    }
    return false;
}

}  // namespace bm::qt
