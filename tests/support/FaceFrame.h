// How long a test waits until widgets show what was changed.
#pragma once

#include <QCoreApplication>
#include <QTest>

#include <gtest/gtest.h>

#include "ui/faces/RichTextView.h"

namespace veltrane {

/// As long as any view but that of a rich text may pause between two drawings.
inline void WaitForFrame() {
  QTest::qWait(120);
  // On a busy machine the wait may be over before it has served what came due in it.
  QCoreApplication::processEvents();
}

/// Until the view of a rich text shows what its text is now, whatever the pause behind an expensive frame is.
inline void WaitUntilSettled(const RichTextView& view) {
  QCoreApplication::processEvents();
  EXPECT_TRUE(QTest::qWaitFor([&view] { return view.IsSettled(); }));
  // Scroll bars that come or go with it have it drawn once more.
  QTest::qWait(20);
  QCoreApplication::processEvents();
}

}  // namespace veltrane
