// A desktop without a screen: notes what is shown, answers questions from queues.
#pragma once

#include <QList>

#include <functional>

#include "base/Failure.h"
#include "forms/Form.h"
#include "tests/support/Journal.h"

namespace veltrane {

class FakeDesktop : public Desktop {
 public:
  explicit FakeDesktop(Journal& journal) : mJournal(journal) {}

  void ShowForm(Form& form, bool modal, Form* owner) override {
    if (mFailShow) throw Failure(5, QStringLiteral("no window"));
    mJournal.Note((modal ? QStringLiteral("show modal ") : QStringLiteral("show ")) + form.Name() +
                  (owner ? QStringLiteral(" over ") + owner->Name() : QString()));
    // What the user does while the form is open.
    if (modal && !mModalScripts.isEmpty()) mModalScripts.takeFirst()(form);
  }
  void HideForm(Form& form) override { mJournal.Note(QStringLiteral("hide ") + form.Name()); }
  void ForgetForm(Form&) override {}
  void RepaintForm(Form& form) override { mJournal.Note(QStringLiteral("repaint ") + form.Name()); }
  void BringToFront(Form& form) override { mJournal.Note(QStringLiteral("to front ") + form.Name()); }
  void SetTopMost(Form& form, bool topMost) override {
    if (mFailTopMost) throw Failure(5, QStringLiteral("no such window"));
    mJournal.Note((topMost ? QStringLiteral("top-most ") : QStringLiteral("not top-most ")) + form.Name());
  }
  BoxAnswer Ask(const MessageBox& box) override {
    mJournal.Note(QStringLiteral("box: ") + box.text.section(u'\n', 0, 0));
    mBoxes.append(box);
    if (OnBox) OnBox(box);
    return mBoxAnswers.isEmpty() ? BoxAnswer::kOk : mBoxAnswers.takeFirst();
  }
  std::optional<QString> AskForFile(const FileBox& box) override {
    mFileBoxes.append(box);
    if (mFailFileBox) throw Failure(5, QStringLiteral("no window"));
    return mFileAnswers.isEmpty() ? std::nullopt : mFileAnswers.takeFirst();
  }
  std::optional<Colour> AskForColour(Colour) override {
    return mColourAnswers.isEmpty() ? std::nullopt : mColourAnswers.takeFirst();
  }
  void OpenDocument(const QString& address) override {
    if (mFailOpen) throw Failure(FailureNumber::kFileNotFound);
    mJournal.Note(QStringLiteral("open ") + address);
  }
  void DoEvents() override {
    mJournal.Note(QStringLiteral("yield"));
    if (OnDoEvents) OnDoEvents();
  }

  QList<MessageBox> mBoxes;
  QList<FileBox> mFileBoxes;
  QList<BoxAnswer> mBoxAnswers;
  QList<std::optional<QString>> mFileAnswers;
  QList<std::optional<Colour>> mColourAnswers;
  QList<std::function<void(Form&)>> mModalScripts;
  std::function<void(const MessageBox&)> OnBox;
  std::function<void()> OnDoEvents;
  bool mFailTopMost = false;
  bool mFailShow = false;
  bool mFailOpen = false;
  bool mFailFileBox = false;

 private:
  Journal& mJournal;
};

}  // namespace veltrane
