#pragma once
// The control types of a form. Each keeps its design-time and run-time properties; setting one
// announces the change to the user interface, which keeps its widget in step.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/surface.h"

namespace bm {

class Form;

enum class ControlKind {
    Label,
    CommandButton,
    TextBox,
    Image,
    PictureBox,
    Panel,
    Gauge,
    Timer,
    FileList,
    OptionButton,
    CommonDialog,
    Shape
};
enum class Align { Left, Center, Right };

struct FontSpec {
    double size = 8.25;  // points at scale 1
    bool bold = false;
    bool italic = false;
    bool serif = false;
};

namespace mouse {
constexpr int kLeft = 1;
constexpr int kRight = 2;
constexpr int kMiddle = 4;
}  // namespace mouse
namespace shift {
constexpr int kShift = 1;
constexpr int kCtrl = 2;
constexpr int kAlt = 4;
}  // namespace shift
namespace key {
constexpr int kEnter = 13;
constexpr int kEscape = 27;
constexpr int kF1 = 112;
constexpr int kF10 = 121;
}  // namespace key

class Control {
  public:
    Control(Form& form, ControlKind kind, std::string name);
    virtual ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    Form& form() const { return form_; }
    const std::string& name() const { return name_; }
    ControlKind kind() const { return kind_; }

    int left() const { return left_; }
    int top() const { return top_; }
    int width() const { return width_; }
    int height() const { return height_; }
    void setLeft(int v);
    void setTop(int v);
    void setWidth(int v);
    void setHeight(int v);
    void move(int left, int top, int width, int height);

    bool visible() const { return visible_; }
    virtual void setVisible(bool v);
    bool enabled() const { return enabled_; }
    virtual void setEnabled(bool v);
    // Caption of a label, button or panel; the text of a text box.
    const std::string& caption() const { return caption_; }
    void setCaption(const std::string& v);
    const std::string& toolTip() const { return toolTip_; }
    void setToolTip(const std::string& v);
    // A picture file shown by the control ("" for none).
    const std::string& picture() const { return picture_; }
    void setPicture(const std::string& path);
    bool stretch() const { return stretch_; }
    void setStretch(bool v);
    const FontSpec& font() const { return font_; }
    void setFont(const FontSpec& f);
    uint32_t foreColor() const { return foreColor_; }
    void setForeColor(uint32_t rgb);
    uint32_t backColor() const { return backColor_; }
    void setBackColor(uint32_t rgb);
    bool transparent() const { return transparent_; }
    void setTransparent(bool v);
    Align alignment() const { return alignment_; }
    void setAlignment(Align a);
    // What assistive technology reads for the control; its caption when not set.
    const std::string& accessibleName() const {
        return accessibleName_.empty() ? caption_ : accessibleName_;
    }
    void setAccessibleName(const std::string& v);

    void setFocus();
    // Forces an immediate repaint of the control's view.
    void refresh();

    std::function<void()> onClick;
    std::function<void()> onDblClick;
    std::function<void()> onChange;
    std::function<void(int button, int shift, double x, double y)> onMouseDown;
    std::function<void(int button, int shift, double x, double y)> onMouseUp;
    std::function<void(int& keyAscii)> onKeyPress;

    // User events, delivered by the views and by tests through the runtime's dispatcher. They are
    // ignored while the control or its form cannot take input.
    void fireClick();
    void fireDblClick();
    void fireMouseDown(int button, int shift, double x, double y);
    void fireMouseUp(int button, int shift, double x, double y);
    void fireKeyPress(int keyAscii);
    bool acceptsInput() const;

  protected:
    void changed();
    void dispatch(const std::function<void()>& fn);

  private:
    Form& form_;
    ControlKind kind_;
    std::string name_;
    int left_ = 0, top_ = 0, width_ = 0, height_ = 0;
    bool visible_ = true;
    bool enabled_ = true;
    std::string caption_;
    std::string toolTip_;
    std::string picture_;
    bool stretch_ = false;
    FontSpec font_;
    uint32_t foreColor_ = 0x000000;
    uint32_t backColor_ = 0xC0C0C0;
    bool transparent_ = false;
    Align alignment_ = Align::Left;
    std::string accessibleName_;
};

class Label : public Control {
  public:
    Label(Form& form, std::string name) : Control(form, ControlKind::Label, std::move(name)) {}
};

class CommandButton : public Control {
  public:
    CommandButton(Form& form, std::string name)
        : Control(form, ControlKind::CommandButton, std::move(name)) {}
    // The three-dimensional button's look: drawn pressed in.
    bool pressed() const { return pressed_; }
    void setPressed(bool v);

  private:
    bool pressed_ = false;
};

class TextBox : public Control {
  public:
    TextBox(Form& form, std::string name) : Control(form, ControlKind::TextBox, std::move(name)) {}
    int maxLength() const { return maxLength_; }
    void setMaxLength(int n);
    const std::string& text() const { return caption(); }
    void setText(const std::string& t);
    // Text typed by the user: cut to the maximum length, then the Change event runs.
    void userEdit(const std::string& t);

  private:
    int maxLength_ = 0;
};

class Image : public Control {
  public:
    Image(Form& form, std::string name) : Control(form, ControlKind::Image, std::move(name)) {}
};

class Panel : public Control {
  public:
    Panel(Form& form, std::string name) : Control(form, ControlKind::Panel, std::move(name)) {}
};

class PictureBox : public Control {
  public:
    PictureBox(Form& form, std::string name);
    Surface& surface() { return surface_; }

  private:
    Surface surface_;
};

class Gauge : public Control {
  public:
    Gauge(Form& form, std::string name) : Control(form, ControlKind::Gauge, std::move(name)) {}
    int value() const { return value_; }
    // Error 380 (invalid property value) outside min..max.
    void setValue(int v);
    int minimum() const { return min_; }
    int maximum() const { return max_; }
    void setRange(int min, int max);

  private:
    int value_ = 0, min_ = 0, max_ = 100;
};

class Timer : public Control {
  public:
    Timer(Form& form, std::string name);
    int interval() const { return interval_; }
    void setInterval(int ms);
    void setEnabled(bool v) override;
    std::function<void()> onTimer;
    // A tick, delivered by the user interface; a tick never runs inside its own handler.
    void fire();

  private:
    int interval_ = 0;
    bool busy_ = false;
};

// A round option button; clicking it selects it.
class OptionButton : public Control {
  public:
    OptionButton(Form& form, std::string name)
        : Control(form, ControlKind::OptionButton, std::move(name)) {}
    bool value() const { return value_; }
    void setValue(bool v);

  private:
    bool value_ = false;
};

// A rectangle outline drawn over the form (the fore colour is the line's); it takes no input.
class Shape : public Control {
  public:
    Shape(Form& form, std::string name) : Control(form, ControlKind::Shape, std::move(name)) {}
};

// The invisible common-dialog control, used to open the help file at a topic.
class CommonDialog : public Control {
  public:
    CommonDialog(Form& form, std::string name);
    std::string HelpFile;
    int HelpCommand = 0;
    int HelpContext = 0;
    // Opens the help file with the command and context set above.
    void ShowHelp();
};

// A hidden list of the files of a folder that match a pattern.
class FileList : public Control {
  public:
    FileList(Form& form, std::string name);
    const std::string& path() const { return path_; }
    // Points the list at a folder and reads it; error 76 when the folder does not exist.
    void setPath(const std::string& folder);
    void setPattern(const std::string& p) { pattern_ = p; }
    int listCount() const { return static_cast<int>(items_.size()); }
    // Error 381 (invalid property array index) outside 0..listCount - 1.
    const std::string& list(int index) const;
    void refreshList();

  private:
    std::string path_;
    std::string pattern_ = "*.*";
    std::vector<std::string> items_;
};

}  // namespace bm
