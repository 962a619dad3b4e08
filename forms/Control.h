// The base of all controls: a named part of a form. A control is the live store of what it shows; setting
// its value in code fires the same event as the user's hand. Faces listen to the signals, the form's own
// logic to the event functions (On...), of which each event has one, as it has one procedure in a form.
#pragma once

#include <QObject>
#include <QString>

#include <functional>

#include "forms/Rect.h"

namespace veltrane {

class Form;

class Control : public QObject {
  Q_OBJECT

 public:
  /// name is the control's name in the form; an element of an array of controls is named name_index.
  Control(Form& form, const QString& name);

  QString Name() const { return objectName(); }
  Form& Parent() const { return mForm; }

  bool Enabled() const { return mEnabled; }
  void SetEnabled(bool enabled) { Assign(mEnabled, enabled); }
  bool Visible() const { return mVisible; }
  void SetVisible(bool visible) { Assign(mVisible, visible); }

  /// Where the control stands on its form, in twips; a size of 0 leaves it where the face was designed.
  const Rect& Place() const { return mPlace; }
  void SetPlace(const Rect& place);

  /// Free text for the owner.
  const QString& Tag() const { return mTag; }
  void SetTag(const QString& tag) { mTag = tag; }

  /// Moves the keyboard focus here.
  void SetFocus() { Q_EMIT FocusAsked(); }

 Q_SIGNALS:
  /// Something that a face shows has changed.
  void Changed();
  void Placed();
  void FocusAsked();

 protected:
  /// Sets a field and tells the faces; false when it held the value already.
  template <class T>
  bool Assign(T& field, T value) {
    if (field == value) return false;
    field = std::move(value);
    Q_EMIT Changed();
    return true;
  }

 private:
  Form& mForm;
  Rect mPlace;
  QString mTag;
  bool mEnabled = true;
  bool mVisible = true;
};

/// A control with one caption. An empty caption leaves the one that the face was designed with.
class CaptionedControl : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  const QString& Caption() const { return mCaption; }
  void SetCaption(const QString& caption) { Assign(mCaption, caption); }

 private:
  QString mCaption;
};

}  // namespace veltrane
