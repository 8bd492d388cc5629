#include "platform/controls.h"

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/form.h"
#include "platform/runtime.h"

namespace bm {

Control::Control(Form& form, ControlKind kind, std::string name)
    : form_(form), kind_(kind), name_(std::move(name)) {
    form_.registerControl(*this);
}

Control::~Control() = default;

void Control::changed() {
    form_.runtime().ui().controlChanged(*this);
}

void Control::dispatch(const std::function<void()>& fn) {
    form_.runtime().dispatch(fn);
}

#define BM_SETTER(Name, member)  \
    void Control::Name(int v) {  \
        if (member == v) return; \
        member = v;              \
        changed();               \
    }
BM_SETTER(setLeft, left_)
BM_SETTER(setTop, top_)
BM_SETTER(setWidth, width_)
BM_SETTER(setHeight, height_)
#undef BM_SETTER

void Control::move(int left, int top, int width, int height) {
    if (left_ == left && top_ == top && width_ == width && height_ == height) return;
    left_ = left;
    top_ = top;
    width_ = width;
    height_ = height;
    changed();
}

void Control::setVisible(bool v) {
    if (visible_ == v) return;
    visible_ = v;
    changed();
}

void Control::setEnabled(bool v) {
    if (enabled_ == v) return;
    enabled_ = v;
    changed();
}

void Control::setCaption(const std::string& v) {
    if (caption_ == v) return;
    caption_ = v;
    changed();
}

void Control::setToolTip(const std::string& v) {
    if (toolTip_ == v) return;
    toolTip_ = v;
    changed();
}

void Control::setPicture(const std::string& path) {
    picture_ = path;  // always announced: the same file may hold a new picture
    changed();
}

void Control::setStretch(bool v) {
    if (stretch_ == v) return;
    stretch_ = v;
    changed();
}

void Control::setFont(const FontSpec& f) {
    font_ = f;
    changed();
}

void Control::setForeColor(uint32_t rgb) {
    if (foreColor_ == rgb) return;
    foreColor_ = rgb;
    changed();
}

void Control::setBackColor(uint32_t rgb) {
    if (backColor_ == rgb) return;
    backColor_ = rgb;
    changed();
}

void Control::setTransparent(bool v) {
    if (transparent_ == v) return;
    transparent_ = v;
    changed();
}

void Control::setAlignment(Align a) {
    if (alignment_ == a) return;
    alignment_ = a;
    changed();
}

void Control::setAccessibleName(const std::string& v) {
    accessibleName_ = v;
    changed();
}

void Control::setFocus() {
    form_.setFocusedControl(this);
    form_.runtime().ui().focusChanged(*this);
}

void Control::refresh() {
    changed();
}

bool Control::acceptsInput() const {
    return visible_ && enabled_ && form_.loaded() && form_.visible() && form_.enabled() &&
           !form_.runtime().ended();
}

void Control::fireClick() {
    if (acceptsInput() && onClick) dispatch(onClick);
}

void Control::fireDblClick() {
    if (acceptsInput() && onDblClick) dispatch(onDblClick);
}

void Control::fireMouseDown(int button, int shift, double x, double y) {
    if (acceptsInput() && onMouseDown) dispatch([&] { onMouseDown(button, shift, x, y); });
}

void Control::fireMouseUp(int button, int shift, double x, double y) {
    if (acceptsInput() && onMouseUp) dispatch([&] { onMouseUp(button, shift, x, y); });
}

void Control::fireKeyPress(int keyAscii) {
    if (acceptsInput() && onKeyPress) dispatch([&] { onKeyPress(keyAscii); });
}

void CommandButton::setPressed(bool v) {
    if (pressed_ == v) return;
    pressed_ = v;
    changed();
}

void TextBox::setMaxLength(int n) {
    maxLength_ = n;
    changed();
}

void TextBox::setText(const std::string& t) {
    if (t == caption()) return;
    setCaption(t);
    if (onChange) dispatch(onChange);
}

void TextBox::userEdit(const std::string& t) {
    if (!acceptsInput()) return;
    std::string cut = maxLength_ > 0 && t.size() > static_cast<size_t>(maxLength_)
                          ? t.substr(0, static_cast<size_t>(maxLength_))
                          : t;
    setText(cut);
}

PictureBox::PictureBox(Form& form, std::string name)
    : Control(form, ControlKind::PictureBox, std::move(name)), surface_(form, this) {}

void Gauge::setValue(int v) {
    if (v < min_ || v > max_) throw RuntimeError(380, "Invalid property value");
    if (value_ == v) return;
    value_ = v;
    changed();
}

void Gauge::setRange(int min, int max) {
    min_ = min;
    max_ = max;
    if (value_ < min_) value_ = min_;
    if (value_ > max_) value_ = max_;
    changed();
}

Timer::Timer(Form& form, std::string name) : Control(form, ControlKind::Timer, std::move(name)) {
    Control::setEnabled(false);
    Control::setVisible(false);
}

void Timer::setInterval(int ms) {
    if (interval_ == ms) return;
    interval_ = ms;
    form().runtime().ui().timerChanged(*this);
}

void Timer::setEnabled(bool v) {
    if (enabled() == v) return;
    Control::setEnabled(v);
    form().runtime().ui().timerChanged(*this);
}

void Timer::fire() {
    if (busy_ || !enabled() || interval_ <= 0 || !form().loaded() || form().runtime().ended())
        return;
    busy_ = true;
    struct Reset {
        bool& b;
        ~Reset() { b = false; }
    } reset{busy_};
    dispatch([this] {
        if (onTimer) onTimer();
    });
}

void OptionButton::setValue(bool v) {
    if (value_ == v) return;
    value_ = v;
    changed();
}

CommonDialog::CommonDialog(Form& form, std::string name)
    : Control(form, ControlKind::CommonDialog, std::move(name)) {
    Control::setVisible(false);
}

void CommonDialog::ShowHelp() {
    form().runtime().ui().openHelp(HelpFile, HelpCommand, HelpContext);
}

FileList::FileList(Form& form, std::string name)
    : Control(form, ControlKind::FileList, std::move(name)) {
    Control::setVisible(false);
}

void FileList::setPath(const std::string& folder) {
    items_ = listFiles(folder, pattern_);
    path_ = folder;
}

void FileList::refreshList() {
    if (!path_.empty()) items_ = listFiles(path_, pattern_);
}

const std::string& FileList::list(int index) const {
    if (index < 0 || index >= listCount()) throw RuntimeError(381, "Invalid property array index");
    return items_[static_cast<size_t>(index)];
}

}  // namespace bm
