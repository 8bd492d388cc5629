#pragma once
// A form: a window of the game with its controls, its own drawing surface and its lifecycle
// (load, show, activate, hide, unload). Forms are long-lived objects; loading one sets its design
// data afresh, so every load starts from the design values.
#include <cstdint>
#include <string>
#include <vector>

#include "platform/controls.h"
#include "platform/surface.h"

namespace bm {

class Runtime;

enum class Border { None, Fixed, Sizable, Tool };

// A part of a form's own drawing that assistive technology can find, read and press: the cards of
// the table are drawn, not controls, so the form lists them itself.
struct AccessibleItem {
    std::string name;                              // "Seven of Hearts", "Face-down card"
    std::string description;                       // "Playable", "Not playable"
    int left = 0, top = 0, width = 0, height = 0;  // in form pixels
    bool pressable = false;
    bool shown = true;     // false for a place left empty
    bool focused = false;  // the form's keyboard mark rests on it
};

class Form {
  public:
    Form(Runtime& runtime, std::string name);
    virtual ~Form();
    Form(const Form&) = delete;
    Form& operator=(const Form&) = delete;

    Runtime& runtime() const { return runtime_; }
    const std::string& name() const { return name_; }
    const std::vector<Control*>& controls() const { return controls_; }
    Control* control(const std::string& name) const;
    Surface& surface() { return surface_; }
    const Surface& surface() const { return surface_; }

    // Design data.
    const std::string& caption() const { return caption_; }
    void setCaption(const std::string& c);
    int left() const { return left_; }
    int top() const { return top_; }
    int width() const { return width_; }    // inner width, logical pixels
    int height() const { return height_; }  // inner height
    void setPosition(int left, int top);
    void setSize(int width, int height);
    // Places the form in the middle of the screen, `rightBy` pixels right of it.
    void centerOnScreen(int rightBy = 0);
    uint32_t backColor() const { return backColor_; }
    void setBackColor(uint32_t rgb) { backColor_ = rgb; }
    Border border() const { return border_; }
    void setBorder(Border b) { border_ = b; }
    // The form whose window this one stays in front of (nullptr: a main window).
    Form* owner() const { return owner_; }
    void setOwner(Form* f) { owner_ = f; }

    bool loaded() const { return loaded_; }
    bool visible() const { return visible_; }
    bool enabled() const { return enabled_; }
    void load();
    void show();
    void hide();
    void unload();
    // A request to close the window from outside the game (the window's close button, the window
    // manager). Form_QueryUnload may refuse it; otherwise the form unloads.
    void requestClose();
    void setEnabled(bool e);
    // Enables the form, brings it to the front and makes it the active form.
    void activate();
    void refresh();

    Control* focusedControl() const { return focused_; }
    void setFocusedControl(Control* c) { focused_ = c; }

    // User events delivered by the views and by tests through the runtime's dispatcher.
    void fireMouseDown(int button, int shift, double x, double y);
    void fireDblClick();
    // Returns the key code after the form has seen it: 0 when the form swallowed it.
    int fireKeyDown(int keyCode, int shift);
    bool acceptsInput() const;

    // Event handlers of the form.
    virtual void Form_Load() {}
    virtual void Form_Activate() {}
    virtual void Form_Unload() {}
    // Runs before a close request unloads the form; setting `cancel` keeps the form open.
    virtual void Form_QueryUnload(int& /*cancel*/) {}
    virtual void Form_MouseDown(int /*button*/, int /*shift*/, double /*x*/, double /*y*/) {}
    virtual void Form_DblClick() {}
    virtual void Form_KeyDown(int& /*keyCode*/, int /*shift*/) {}

    // The form's drawn parts for assistive technology, and pressing one of them (as a click on it).
    virtual std::vector<AccessibleItem> accessibleItems() const { return {}; }
    virtual void pressAccessibleItem(size_t /*index*/) {}
    // Delivers an item press through the dispatcher, like any user event.
    void firePressItem(size_t index);

    void registerControl(Control& c) { controls_.push_back(&c); }

  protected:
    // Sets the form's and its controls' design-time properties. Runs at every load.
    virtual void design() = 0;
    // Swallows F10 and every key pressed with Alt, so neither reaches the window's menu handling.
    static void swallowMenuKeys(int& keyCode, int shift);

  private:
    Runtime& runtime_;
    std::string name_;
    std::vector<Control*> controls_;
    Surface surface_;
    std::string caption_;
    int left_ = -1, top_ = -1, width_ = 320, height_ = 240;
    uint32_t backColor_ = 0xC0C0C0;
    Border border_ = Border::Fixed;
    Form* owner_ = nullptr;
    bool loaded_ = false;
    bool unloading_ = false;  // Form_Unload is running: a second unload is the same one
    bool visible_ = false;
    bool enabled_ = true;
    Control* focused_ = nullptr;
};

}  // namespace bm
