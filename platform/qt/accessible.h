#pragma once
// What assistive technology (a screen reader, over the platform's accessibility bus) sees of a form
// window: its control widgets, with the texts the game shows in labels, panels and gauges, and
// one object for each part of the form's own drawing that the form lists (the cards of the
// table), with a Press action that acts as a click on it. Interfaces are made only when assistive
// technology asks for them, and changes are announced only for what it has seen.
class QWidget;

namespace bm::qt {

class FormWindow;

// Installs the interfaces; safe to call more than once. Needs the QApplication.
void installAccessibility();
// The form's drawn items may have changed: announced once the game has settled.
void accessibleItemsChanged(FormWindow& window);
// A control's widget changed (its text, value or look): announces a new text or value.
void accessibleControlChanged(FormWindow& window, QWidget& widget);

}  // namespace bm::qt
