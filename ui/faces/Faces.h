// Which window shows which form.
#pragma once

#include <QStringList>

namespace veltrane {

class Form;
class FormFace;

/// Builds the face of a form, bound to its controls; nullptr for a form that has none. The caller owns it.
FormFace* BuildFace(Form& form);

/// The forms that have one, by name.
QStringList NamesOfFaces();

}  // namespace veltrane
