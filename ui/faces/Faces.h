// Which window shows which form.
#pragma once

namespace veltrane {

class Form;
class FormFace;

/// Builds the face of a form, bound to its controls; nullptr for a form that has none. The caller owns it.
FormFace* BuildFace(Form& form);

}  // namespace veltrane
