#include "platform/form.h"

#include "platform/runtime.h"

namespace bm {

Form::Form(Runtime& runtime, std::string name)
    : runtime_(runtime), name_(std::move(name)), surface_(*this, nullptr) {
    runtime_.registerForm(*this);
}

Form::~Form() = default;

Control* Form::control(const std::string& name) const {
    for (Control* c : controls_)
        if (c->name() == name) return c;
    return nullptr;
}

void Form::setCaption(const std::string& c) {
    caption_ = c;
    if (loaded_) runtime_.ui().formChanged(*this);
}

void Form::setPosition(int left, int top) {
    left_ = left;
    top_ = top;
    if (loaded_) runtime_.ui().formChanged(*this);
}

void Form::setSize(int width, int height) {
    width_ = width;
    height_ = height;
    if (loaded_) runtime_.ui().formChanged(*this);
}

void Form::centerOnScreen(int rightBy) {
    const Size screen = runtime_.ui().screenSize();
    setPosition((screen.width - width_) / 2 + rightBy, (screen.height - height_) / 2);
}

void Form::load() {
    if (loaded_) return;
    loaded_ = true;
    enabled_ = true;
    focused_ = nullptr;
    surface_.cls();
    design();
    runtime_.ui().formChanged(*this);
    Form_Load();
}

void Form::show() {
    load();
    if (!loaded_) return;  // Form_Load may have unloaded the form again
    visible_ = true;
    runtime_.ui().formChanged(*this);
    runtime_.formShown(*this);
}

void Form::hide() {
    if (!visible_) return;
    visible_ = false;
    runtime_.ui().formChanged(*this);
    runtime_.formHidden(*this);
}

void Form::unload() {
    if (!loaded_ || unloading_) return;
    unloading_ = true;
    struct Done {
        bool& flag;
        ~Done() { flag = false; }
    } done{unloading_};
    Form_Unload();
    for (Control* c : controls_)
        if (c->kind() == ControlKind::Timer) c->setEnabled(false);
    loaded_ = false;
    visible_ = false;
    runtime_.ui().formChanged(*this);
    runtime_.formHidden(*this);
    runtime_.formUnloaded();
}

void Form::requestClose() {
    if (!acceptsInput()) return;  // a disabled window cannot be closed
    runtime_.dispatch([this] {
        int cancel = 0;
        Form_QueryUnload(cancel);
        if (!cancel) unload();
    });
}

void Form::setEnabled(bool e) {
    if (enabled_ == e) return;
    enabled_ = e;
    if (loaded_) runtime_.ui().formChanged(*this);
}

void Form::activate() {
    setEnabled(true);
    if (!visible_) {
        show();
        return;
    }
    runtime_.formShown(*this);
}

void Form::refresh() {
    surface_.refresh();
}

bool Form::acceptsInput() const {
    return loaded_ && visible_ && enabled_ && !runtime_.ended();
}

void Form::fireMouseDown(int button, int shift, double x, double y) {
    if (acceptsInput()) runtime_.dispatch([&] { Form_MouseDown(button, shift, x, y); });
}

void Form::firePressItem(size_t index) {
    if (acceptsInput()) runtime_.dispatch([&] { pressAccessibleItem(index); });
}

void Form::fireDblClick() {
    if (acceptsInput()) runtime_.dispatch([&] { Form_DblClick(); });
}

int Form::fireKeyDown(int keyCode, int shift) {
    if (!acceptsInput()) return 0;
    runtime_.dispatch([&] { Form_KeyDown(keyCode, shift); });
    return keyCode;
}

void Form::swallowMenuKeys(int& keyCode, int shift) {
    if (keyCode == key::kF10 || (shift & shift::kAlt)) keyCode = 0;
}

}  // namespace bm
