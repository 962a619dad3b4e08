// What the designed windows of the start and of the about box cannot say: a picture as sharp as the screen
// is, a window without a frame, an animation, a link's colour.
#pragma once

class QWidget;

namespace veltrane {

class Form;

void FinishSplash(Form& form, QWidget& face);
void FinishAbout(Form& form, QWidget& face);

}  // namespace veltrane
