// Ties the controls of a form to the widgets of the same names: what a control says is shown, what a hand
// does goes through the control. An option i of a group is the radio button name_i; the arrows of a spin
// button are name_up and name_down; a menu entry is a QAction.
#pragma once

class QWidget;

namespace veltrane {

class Form;

/// Binds all controls of form that have a widget below face. The widgets must not outlive the form.
void BindControls(Form& form, QWidget& face);

}  // namespace veltrane
