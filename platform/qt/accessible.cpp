#include "platform/qt/accessible.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <QFocusFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPointer>
#include <QStyle>
#include <QTimer>
#include <QWidget>
#include <algorithm>
#include <unordered_map>
#include <vector>

#include "platform/controls.h"
#include "platform/form.h"
#include "platform/qt/form_window.h"

namespace bm::qt {

namespace {

// An interface that announces its own changes.
class Announcer {
  public:
    virtual ~Announcer() = default;
    virtual void changed() = 0;
};

// The widgets whose interfaces assistive technology has been given: only their changes are worth
// announcing.
std::unordered_map<const QObject*, Announcer*>& announcers() {
    static std::unordered_map<const QObject*, Announcer*> map;
    return map;
}

class FormAccessible;

// One drawn item of a form: a card of the table, say. It has no widget of its own; the form's
// interface owns it and it reads the item afresh from the form.
class ItemAccessible : public QAccessibleInterface, public QAccessibleActionInterface {
  public:
    ItemAccessible(FormAccessible& form, size_t index) : form_(form), index_(index) {}

    bool isValid() const override;
    QObject* object() const override { return nullptr; }
    QWindow* window() const override;
    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QString text(QAccessible::Text t) const override;
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override;
    QAccessible::Role role() const override { return QAccessible::Button; }
    QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType t) override {
        return t == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                 : nullptr;
    }

    QStringList actionNames() const override;
    void doAction(const QString& name) override;
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

  private:
    const AccessibleItem* item() const;
    FormAccessible& form_;
    size_t index_;
};

// A form window: its control widgets first, then one child for each drawn item of the form.
class FormAccessible : public QAccessibleWidget, public Announcer {
  public:
    explicit FormAccessible(FormWindow* window)
        : QAccessibleWidget(window, QAccessible::Window), window_(window), key_(window) {
        announcers()[key_] = this;
        shown_ = items();
    }
    ~FormAccessible() override {
        announcers().erase(key_);
        for (QAccessible::Id id : ids_)
            if (id) QAccessible::deleteAccessibleInterface(id);
    }

    FormWindow* formWindow() const { return window_; }

    // The form's items as they are now, read once after each change.
    const std::vector<AccessibleItem>& items() const {
        if (stale_) {
            items_ = window_ ? window_->form().accessibleItems() : std::vector<AccessibleItem>();
            stale_ = false;
        }
        return items_;
    }

    QAccessible::Role role() const override {
        const QWidget* w = widget();
        return w && w->windowType() == Qt::Dialog ? QAccessible::Dialog : QAccessible::Window;
    }
    QString text(QAccessible::Text t) const override {
        QString own = QAccessibleWidget::text(t);
        if (t != QAccessible::Name || !own.trimmed().isEmpty() || !window_) return own;
        // A window without a caption (the message between rounds) is named by what it says, so
        // a screen reader has something to read when it appears.
        for (const QLabel* label : window_->findChildren<QLabel*>(Qt::FindDirectChildrenOnly))
            if (label->isVisibleTo(window_) && !label->text().trimmed().isEmpty())
                return label->text().simplified();
        return own;
    }
    int childCount() const override {
        return QAccessibleWidget::childCount() + static_cast<int>(items().size());
    }
    QAccessibleInterface* child(int index) const override {
        const int widgets = QAccessibleWidget::childCount();
        if (index < widgets) return QAccessibleWidget::child(index);
        const size_t k = static_cast<size_t>(index - widgets);
        return k < items().size() ? item(k) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        for (size_t k = 0; k < ids_.size(); ++k)
            if (ids_[k] && QAccessible::accessibleInterface(ids_[k]) == child)
                return k < items().size() ? QAccessibleWidget::childCount() + static_cast<int>(k)
                                          : -1;
        return QAccessibleWidget::indexOfChild(child);
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        // Controls lie over the drawing; of overlapping items the one drawn last is on top.
        for (int i = QAccessibleWidget::childCount() - 1; i >= 0; --i) {
            QAccessibleInterface* c = QAccessibleWidget::child(i);
            if (c && !c->state().invisible && c->rect().contains(x, y)) return c;
        }
        const auto& list = items();
        for (size_t k = list.size(); k-- > 0;) {
            if (!list[k].shown) continue;
            QAccessibleInterface* c = item(k);
            if (c->rect().contains(x, y)) return c;
        }
        return nullptr;
    }
    QAccessibleInterface* focusChild() const override {
        // The form's own keyboard mark, while it shows, is where the keys act.
        const auto& list = items();
        for (size_t k = 0; k < list.size(); ++k)
            if (list[k].focused && list[k].shown) return item(k);
        return QAccessibleWidget::focusChild();
    }

    void changed() override {
        stale_ = true;
        if (scheduled_ || !window_) return;
        scheduled_ = true;
        // Announced once the game has finished this change, not at every drawing step.
        QTimer::singleShot(0, window_.data(), [this] {
            scheduled_ = false;
            announce();
        });
    }

    ItemAccessible* item(size_t k) const {
        if (ids_.size() <= k) ids_.resize(k + 1, 0);
        if (!ids_[k]) {
            auto* iface = new ItemAccessible(const_cast<FormAccessible&>(*this), k);
            ids_[k] = QAccessible::registerAccessibleInterface(iface);
        }
        return static_cast<ItemAccessible*>(QAccessible::accessibleInterface(ids_[k]));
    }

  private:
    void announce() {
        const std::vector<AccessibleItem> now = items();
        const size_t common = std::min(now.size(), shown_.size());
        for (size_t k = 0; k < common; ++k) {
            // Only items assistive technology has been given can have changed for it.
            if (k >= ids_.size() || !ids_[k]) continue;
            const AccessibleItem &a = shown_[k], &b = now[k];
            QAccessibleInterface* iface = item(k);
            if (a.name != b.name) {
                QAccessibleEvent e(iface, QAccessible::NameChanged);
                QAccessible::updateAccessibility(&e);
            }
            if (a.description != b.description) {
                QAccessibleEvent e(iface, QAccessible::DescriptionChanged);
                QAccessible::updateAccessibility(&e);
            }
            QAccessible::State states;
            states.invisible = a.shown != b.shown;
            states.disabled = a.pressable != b.pressable;
            states.focused = a.focused != b.focused;
            if (states.invisible || states.disabled || states.focused) {
                QAccessibleStateChangeEvent e(iface, states);
                QAccessible::updateAccessibility(&e);
            }
            if (a.left != b.left || a.top != b.top || a.width != b.width || a.height != b.height) {
                QAccessibleEvent e(iface, QAccessible::LocationChanged);
                QAccessible::updateAccessibility(&e);
            }
            if (b.focused && b.shown && !(a.focused && a.shown) && window_ &&
                window_->isActiveWindow()) {
                QAccessibleEvent e(iface, QAccessible::Focus);
                QAccessible::updateAccessibility(&e);
            }
        }
        // When the form's keyboard mark goes (Tab moves on to a button, say), the keys act on the
        // control that has the focus again: that is where a screen reader is now.
        auto marked = [](const std::vector<AccessibleItem>& list) {
            return std::any_of(list.begin(), list.end(),
                               [](const AccessibleItem& i) { return i.focused && i.shown; });
        };
        if (marked(shown_) && !marked(now) && window_ && window_->isActiveWindow()) {
            QWidget* focus = QApplication::focusWidget();
            if (focus && window_->isAncestorOf(focus)) {
                QAccessibleEvent e(focus, QAccessible::Focus);
                QAccessible::updateAccessibility(&e);
            }
        }
        for (size_t k = common; k < now.size(); ++k) {
            QAccessibleEvent e(item(k), QAccessible::ObjectCreated);
            QAccessible::updateAccessibility(&e);
        }
        if (now.size() < shown_.size()) {
            QAccessibleEvent e(this, QAccessible::ObjectReorder);
            QAccessible::updateAccessibility(&e);
        }
        shown_ = now;
    }

    QPointer<FormWindow> window_;
    const QObject* key_;
    mutable std::vector<AccessibleItem> items_;
    mutable bool stale_ = true;
    mutable std::vector<QAccessible::Id> ids_;
    std::vector<AccessibleItem> shown_;  // the items as last announced
    bool scheduled_ = false;
};

const AccessibleItem* ItemAccessible::item() const {
    const auto& list = form_.items();
    return index_ < list.size() ? &list[index_] : nullptr;
}

bool ItemAccessible::isValid() const {
    return form_.formWindow() && item();
}

QWindow* ItemAccessible::window() const {
    return form_.window();
}

QAccessibleInterface* ItemAccessible::parent() const {
    return &form_;
}

QString ItemAccessible::text(QAccessible::Text t) const {
    const AccessibleItem* it = item();
    if (!it) return {};
    switch (t) {
        case QAccessible::Name:
            return toQString(it->name);
        case QAccessible::Description:
            return toQString(it->description);
        default:
            return {};
    }
}

QRect ItemAccessible::rect() const {
    const AccessibleItem* it = item();
    FormWindow* w = form_.formWindow();
    if (!it || !w) return {};
    const QRect r = w->toWindow(it->left, it->top, it->width, it->height);
    return QRect(w->mapToGlobal(r.topLeft()), r.size());
}

QAccessible::State ItemAccessible::state() const {
    QAccessible::State s;
    const AccessibleItem* it = item();
    FormWindow* w = form_.formWindow();
    if (!it || !w || !w->isVisible() || !it->shown) {
        s.invisible = true;
        s.offscreen = true;
        return s;
    }
    s.focusable = it->pressable;
    s.focused = it->focused;
    s.disabled = !it->pressable;
    return s;
}

QStringList ItemAccessible::actionNames() const {
    const AccessibleItem* it = item();
    if (!it || !it->pressable || !it->shown) return {};
    return {QAccessibleActionInterface::pressAction()};
}

void ItemAccessible::doAction(const QString& name) {
    if (name != QAccessibleActionInterface::pressAction() || actionNames().isEmpty()) return;
    // The press runs as the next user event: a call from the accessibility bus gets its answer at
    // once, however long the move's animation takes.
    QPointer<FormWindow> w = form_.formWindow();
    const size_t index = index_;
    QTimer::singleShot(0, w.data(), [w, index] {
        if (w) w->form().firePressItem(index);
    });
}

// A label or a panel: the text the game shows in it, as a static text with the control's
// accessible name; the text is also the description, so a reader that reads names and
// descriptions only hears it too.
class TextAccessible : public QAccessibleWidget, public QAccessibleTextInterface, public Announcer {
  public:
    TextAccessible(QWidget* widget, const Control& control)
        : QAccessibleWidget(widget, QAccessible::StaticText), control_(control), key_(widget) {
        announcers()[key_] = this;
        shown_ = current();
    }
    ~TextAccessible() override { announcers().erase(key_); }

    QString current() const {
        if (auto* label = qobject_cast<const QLabel*>(object())) return label->text();
        return toDisplayLines(control_.caption());
    }
    QString text(QAccessible::Text t) const override {
        const QString name = widget() ? widget()->accessibleName() : QString();
        switch (t) {
            case QAccessible::Name:
                return name.isEmpty() ? current() : name;
            case QAccessible::Description:
                return name == current() ? QString() : current();
            case QAccessible::Value:
                return current();
            default:
                return QAccessibleWidget::text(t);
        }
    }
    void* interface_cast(QAccessible::InterfaceType t) override {
        if (t == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
        return QAccessibleWidget::interface_cast(t);
    }

    void changed() override {
        const QString now = current();
        if (now == shown_) return;
        const QString before = shown_;
        shown_ = now;
        QAccessibleTextUpdateEvent update(object(), 0, before, now);
        QAccessible::updateAccessibility(&update);
        QAccessibleEvent description(object(), QAccessible::DescriptionChanged);
        QAccessible::updateAccessibility(&description);
    }

    // Read-only text: no selection, no caret.
    void selection(int, int* start, int* end) const override { *start = *end = 0; }
    int selectionCount() const override { return 0; }
    void addSelection(int, int) override {}
    void removeSelection(int) override {}
    void setSelection(int, int, int) override {}
    int cursorPosition() const override { return 0; }
    void setCursorPosition(int) override {}
    QString text(int start, int end) const override {
        const QString all = current();
        start = std::clamp(start, 0, static_cast<int>(all.size()));
        end = end < 0 ? static_cast<int>(all.size())
                      : std::clamp(end, start, static_cast<int>(all.size()));
        return all.mid(start, end - start);
    }
    int characterCount() const override { return static_cast<int>(current().size()); }
    QRect characterRect(int) const override { return {}; }
    int offsetAtPoint(const QPoint&) const override { return -1; }
    void scrollToSubstring(int, int) override {}
    QString attributes(int offset, int* start, int* end) const override {
        *start = *end = offset;
        return {};
    }

  private:
    const Control& control_;
    const QObject* key_;
    QString shown_;  // the text as last announced
};

// A gauge: a progress bar with its value.
class GaugeAccessible : public QAccessibleWidget,
                        public QAccessibleValueInterface,
                        public Announcer {
  public:
    GaugeAccessible(QWidget* widget, const Gauge& gauge)
        : QAccessibleWidget(widget, QAccessible::ProgressBar), gauge_(gauge), key_(widget) {
        announcers()[key_] = this;
        shown_ = gauge.value();
    }
    ~GaugeAccessible() override { announcers().erase(key_); }
    void* interface_cast(QAccessible::InterfaceType t) override {
        if (t == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(t);
    }
    QString text(QAccessible::Text t) const override {
        if (t == QAccessible::Value) return QString::number(gauge_.value());
        return QAccessibleWidget::text(t);
    }
    QVariant currentValue() const override { return gauge_.value(); }
    void setCurrentValue(const QVariant&) override {}
    QVariant maximumValue() const override { return gauge_.maximum(); }
    QVariant minimumValue() const override { return gauge_.minimum(); }
    QVariant minimumStepSize() const override { return 1; }
    void changed() override {
        if (gauge_.value() == shown_) return;
        shown_ = gauge_.value();
        QAccessibleValueChangeEvent e(object(), shown_);
        QAccessible::updateAccessibility(&e);
    }

  private:
    const Gauge& gauge_;
    const QObject* key_;
    int shown_ = 0;
};

// Pictures and shapes: a graphic with the control's accessible name.
class GraphicAccessible : public QAccessibleWidget {
  public:
    explicit GraphicAccessible(QWidget* widget) : QAccessibleWidget(widget, QAccessible::Graphic) {}
};

QAccessibleInterface* factory(const QString&, QObject* object) {
    if (!object || !object->isWidgetType()) return nullptr;
    auto* widget = static_cast<QWidget*>(object);
    if (auto* window = dynamic_cast<FormWindow*>(widget)) return new FormAccessible(window);
    auto* window = dynamic_cast<FormWindow*>(widget->parentWidget());
    const Control* control = window ? window->controlOf(widget) : nullptr;
    if (!control) return nullptr;
    switch (control->kind()) {
        case ControlKind::Label:
        case ControlKind::Panel:
            return new TextAccessible(widget, *control);
        case ControlKind::Gauge:
            return new GaugeAccessible(widget, static_cast<const Gauge&>(*control));
        case ControlKind::Image:
        case ControlKind::PictureBox:
        case ControlKind::Shape:
            return new GraphicAccessible(widget);
        default:
            // Buttons, text boxes and option buttons keep Qt's own interfaces.
            return nullptr;
    }
}

// A ring around the focused button or text box, plain on the felt and on the buttons alike (the
// style's own focus frame is a faint line that shows only after the first Tab). It follows the
// keyboard focus through every form window.
class FocusRing : public QFocusFrame {
  public:
    FocusRing() = default;
    // While the form's own keyboard mark shows (on a card of the table), the keys act there and
    // not on the focused button: the ring steps aside.
    void setQuiet(bool quiet) {
        if (quiet == quiet_) return;
        quiet_ = quiet;
        update();
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        if (quiet_) return;
        // The frame lies around the control, as wide as the style's focus margins.
        QPainter p(this);
        const int h = style()->pixelMetric(QStyle::PM_FocusFrameHMargin);
        const int v = style()->pixelMetric(QStyle::PM_FocusFrameVMargin);
        const QRect r = rect();
        const QColor ring(0xFF, 0xE2, 0x3D);
        p.fillRect(QRect(r.left(), r.top(), r.width(), v), ring);
        p.fillRect(QRect(r.left(), r.bottom() - v + 1, r.width(), v), ring);
        p.fillRect(QRect(r.left(), r.top(), h, r.height()), ring);
        p.fillRect(QRect(r.right() - h + 1, r.top(), h, r.height()), ring);
    }

  private:
    bool quiet_ = false;
};

QPointer<FocusRing>& focusRing() {
    static QPointer<FocusRing> ring;
    return ring;
}

// Whether the form shows its own keyboard mark on one of its drawn items.
bool markShown(const FormWindow& window) {
    const std::vector<AccessibleItem> items = window.form().accessibleItems();
    return std::any_of(items.begin(), items.end(),
                       [](const AccessibleItem& i) { return i.focused && i.shown; });
}

void followFocus(QWidget* now) {
    QPointer<FocusRing>& ring = focusRing();
    auto* window = now ? dynamic_cast<FormWindow*>(now->parentWidget()) : nullptr;
    const bool shown =
        window && (qobject_cast<QAbstractButton*>(now) || qobject_cast<QLineEdit*>(now));
    if (!shown) {
        if (ring) ring->setWidget(nullptr);
        return;
    }
    // The ring lives among the focused control's siblings, and goes with their window.
    if (!ring) ring = new FocusRing;
    ring->setWidget(now);
    ring->setQuiet(markShown(*window));
}

}  // namespace

void installAccessibility() {
    static bool installed = false;
    if (installed) return;
    installed = true;
    QAccessible::installFactory(factory);
    QObject::connect(qApp, &QApplication::focusChanged, qApp,
                     [](QWidget*, QWidget* now) { followFocus(now); });
}

void accessibleItemsChanged(FormWindow& window) {
    auto it = announcers().find(&window);
    if (it != announcers().end()) it->second->changed();
}

void accessibleControlChanged(FormWindow& window, QWidget& widget) {
    auto it = announcers().find(&widget);
    if (it != announcers().end()) it->second->changed();
    // A control of the form (its keyboard mark, say) may change what the items say.
    accessibleItemsChanged(window);
    FocusRing* ring = focusRing();
    if (ring && ring->widget() && ring->widget()->parentWidget() == &window)
        ring->setQuiet(markShown(window));
}

}  // namespace bm::qt
