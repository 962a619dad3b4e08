#include "ui/faces/frmMainFace.h"

#include <QFrame>
#include <QMenuBar>
#include <QScreen>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

#include "ui/faces/AnimationFace.h"
#include "ui/faces/BarFaces.h"
#include "ui/faces/Binder.h"
#include "ui/faces/DiagramFace.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/Pictures.h"
#include "ui/faces/RichTextView.h"
#include "ui/faces/Twips.h"
#include "ui/frmMain.h"

namespace veltrane {
namespace {

constexpr QSize kOpeningSize(1024, 700);
constexpr QSize kLeastSize(420, 320);
constexpr int kToolPicture = 28;
constexpr int kNavigationPicture = 16;

QAction* BuildEntry(const frmMain::MenuRow& row, FormFace& face) {
  auto* action = new QAction(&face);
  action->setObjectName(QLatin1String(row.name));
  action->setSeparator(!row.item);
  // The three that can bear a mark keep room for it.
  const auto marks = {&frmMain::mnuEventHistory, &frmMain::mnuConnectionDiagram, &frmMain::mnuKeepOnTop};
  action->setCheckable(std::find(marks.begin(), marks.end(), row.item) != marks.end());
  return action;
}

QMenu* BuildMenu(const frmMain::MenuTitle& title, FormFace& face) {
  auto* menu = new QMenu(QLatin1String(title.caption), &face);
  menu->setObjectName(QLatin1String(title.name));
  for (const frmMain::MenuRow& row : frmMain::MenuRows()) {
    if (QLatin1String(row.menu) == QLatin1String(title.name)) menu->addAction(BuildEntry(row, face));
  }
  return menu;
}

QMenuBar* BuildMenus(frmMain& form, FormFace& face, QWidget& inner) {
  auto* bar = new QMenuBar(&face);
  bar->setObjectName(QStringLiteral("menuBar"));
  for (const frmMain::MenuTitle& title : frmMain::MenuTitles()) {
    QMenu* menu = BuildMenu(title, face);
    if (form.mnuPopup.Name() != QLatin1String(title.name)) {
      bar->addMenu(menu);
      continue;
    }
    QObject::connect(&form.mnuPopup, &PopUpMenu::Asked, menu, [menu, &inner](int x, int y) {
      menu->popup(inner.mapToGlobal(QPoint(Pixels(x), Pixels(y))));
    });
  }
  return bar;
}

template <class Widget>
Widget* Named(const Control& control, QWidget& parent, const QString& accessibleName = {}) {
  auto* widget = new Widget(&parent);
  widget->setObjectName(control.Name());
  widget->setAccessibleName(accessibleName);
  return widget;
}

QFrame* BuildFrame(const Control& control, QWidget& parent, QFrame::Shape shape) {
  auto* frame = Named<QFrame>(control, parent);
  frame->setFrameShape(shape);
  frame->setFrameShadow(QFrame::Sunken);
  return frame;
}

void BuildCloseBox(CheckBox& box, QWidget& parent) {
  auto* button = Named<QToolButton>(box, parent, QStringLiteral("Hide real time data"));
  button->setToolTip(QStringLiteral("Hide real time data"));
  button->setIcon(Picture(QStringLiteral("Close")));
  button->setIconSize(QSize(12, 12));
  button->setAutoRaise(true);
  QObject::connect(button, &QToolButton::clicked, &box, [&box] { box.SetValue(1); });
}

void BuildRealTimePane(frmMain& form, QWidget& inner) {
  auto* title = Named<PanelLabel>(form.lblRealTime, inner);
  title->setFrameStyle(static_cast<int>(QFrame::StyledPanel) | static_cast<int>(QFrame::Sunken));
  BuildCloseBox(form.chkCloseRealTime, inner);
  auto* text = Named<RichTextView>(form.txtRealTime, inner, QStringLiteral("Real time data"));
  text->setFont(QFont(QStringLiteral("Courier")));
}

void BuildDiagram(frmMain& form, QWidget& inner) {
  new DiagramFace(form, *BuildFrame(form.panDiagramOuter, inner, QFrame::StyledPanel));
}

void BuildDragShape(const frmMain& form, QWidget& inner) {
  auto* shape = Named<QWidget>(form.shpDrag, inner);
  shape->setAutoFillBackground(true);
  shape->setBackgroundRole(QPalette::Highlight);
  shape->setAttribute(Qt::WA_TransparentForMouseEvents);
}

void BuildWorking(Animation& animation, QWidget& panel) {
  auto* face = new AnimationFace(animation, panel);
  const auto tell = [&animation, face] {
    face->setAccessibleName(animation.IsPlaying() ? QStringLiteral("A connection is alive")
                                                  : QStringLiteral("No connection is alive"));
    face->setToolTip(face->accessibleName());
  };
  tell();
  QObject::connect(&animation, &Control::Changed, face, tell);
}

void BuildFrameParts(frmMain& form, QWidget& inner) {
  BuildFrame(form.lneSep[0], inner, QFrame::HLine);
  BuildFrame(form.lneSep[1], inner, QFrame::HLine);
  BuildToolBar(form.barToolbar, inner, kToolPicture);
  QFrame* working = BuildFrame(form.panWorking, inner, QFrame::NoFrame);
  BuildWorking(form.aniWorking, *working);
}

// In the order in which the tabulator key goes through them. What lies over something else comes behind it.
void BuildPanes(frmMain& form, QWidget& inner) {
  BuildFrameParts(form, inner);
  BuildStatusBar(form.lblSockets, inner, {1}, 0);
  Named<QTreeView>(form.tvwSockets, inner, QStringLiteral("Ports, peers, connections and events"));
  BuildStatusBar(form.lblDetails, inner, {1, 0, 0}, 0);
  BuildToolBar(form.barNavigation, inner, kNavigationPicture);
  Named<QTreeView>(form.lvwDetails, inner, QStringLiteral("Details of what is selected"));
  BuildDiagram(form, inner);
  BuildRealTimePane(form, inner);
  BuildStatusBar(form.barStatus, inner, {18, 12, 12, 11, 9, 10, 10, 10, 8}, 9);
  new SplitterFace(form.imgSplitterHoriz, inner, Qt::SplitVCursor);
  new SplitterFace(form.imgSplitterVert, inner, Qt::SplitHCursor);
  BuildDragShape(form, inner);
}

void FollowControl(const Control& control, QWidget& widget) {
  const auto place = [&control, &widget] { widget.setGeometry(PixelRect(control.Place())); };
  const auto look = [&control, &widget] {
    widget.setVisible(control.Visible());
    widget.setEnabled(control.Enabled());
  };
  place();
  look();
  QObject::connect(&control, &Control::Placed, &widget, place);
  QObject::connect(&control, &Control::Changed, &widget, look);
}

// While the diagram lies over the grid, the keys go to what is seen.
void FollowCover(const Panel& cover, QWidget& diagram, QWidget& grid) {
  const auto look = [&cover, &diagram, &grid] {
    if (cover.Visible() && grid.window()->focusWidget() == &grid) diagram.setFocus(Qt::OtherFocusReason);
    grid.setFocusPolicy(cover.Visible() ? Qt::NoFocus : Qt::StrongFocus);
  };
  look();
  QObject::connect(&cover, &Control::Changed, &grid, look);
}

QSize OpeningSize(const FormFace& face) {
  const QScreen* screen = face.screen();
  return screen ? kOpeningSize.boundedTo(screen->availableSize() * 0.92) : kOpeningSize;
}

}  // namespace

FormFace* BuildMainFace(frmMain& form) {
  auto* face = new FormFace(form);
  auto* inner = new QWidget(face);
  auto* layout = new QVBoxLayout(face);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(BuildMenus(form, *face, *inner));
  layout->addWidget(inner, 1);
  BuildPanes(form, *inner);
  BindControls(form, *face);
  for (Control* control : form.Controls()) {
    if (auto* widget = inner->findChild<QWidget*>(control->Name())) FollowControl(*control, *widget);
  }
  auto* diagram = inner->findChild<QWidget*>(form.panDiagram.Name());
  auto* grid = inner->findChild<QWidget*>(form.lvwDetails.Name());
  if (diagram && grid) FollowCover(form.panDiagramOuter, *diagram, *grid);
  face->SetInner(*inner);
  face->setMinimumSize(kLeastSize.boundedTo(OpeningSize(*face)));
  face->resize(OpeningSize(*face));
  // In front from the start, for the arrows.
  if (auto* tree = inner->findChild<QTreeView*>(form.tvwSockets.Name())) tree->setFocus();
  return face;
}

}  // namespace veltrane
