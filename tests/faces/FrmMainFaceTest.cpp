// The main window as the user sees it: menus, bars and keys, and views that keep up with their models.
#include <QAction>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QRandomGenerator>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include <gtest/gtest.h>

#include "forms/ListModel.h"
#include "forms/TreeModel.h"
#include "tests/faces/Look.h"
#include "tests/faces/MainWindowWorld.h"
#include "tests/support/TreeLines.h"
#include "ui/faces/FrameUpdate.h"
#include "ui/faces/PictureDelegate.h"
#include "ui/faces/Pictures.h"
#include "ui/faces/RichTextView.h"

namespace veltrane {
namespace {

struct FrmMainFaceTest : testing::Test, MainWindowWorld {
  static void Frame() { WaitForFrame(); }
  template <class Widget>
  Widget& Find(const QString& name) {
    auto* widget = face->findChild<Widget*>(name);
    if (!widget) throw std::runtime_error("no widget " + name.toStdString());
    return *widget;
  }
  QTreeView& Tree() { return Find<QTreeView>(QStringLiteral("tvwSockets")); }
  QTreeView& Grid() { return Find<QTreeView>(QStringLiteral("lvwDetails")); }
  static void Click(QTreeView& view, const QModelIndex& index, Qt::MouseButton button = Qt::LeftButton) {
    QTest::mouseClick(view.viewport(), button, {}, view.visualRect(index).center());
    Frame();
  }
  QModelIndex TreeIndex(std::initializer_list<int> rows) {
    QModelIndex index;
    for (const int row : rows)
      index = Tree().model()->index(row, 0, index);
    return index;
  }
  SocketPairHistory& AddConnection(const QString& key, int events, const QByteArray& data = "x") {
    const auto history = std::make_shared<SocketPairHistory>();
    history->mstrSocketPairKey = key;
    history->mstrRemoteClientIP = QStringLiteral("10.0.0.1");
    history->mstrRemoteServerIP = QStringLiteral("10.0.0.2");
    history->mlngLocalServerPort = history->mlngWasListeningOnPort = 1000;
    for (int i = 0; i < events; ++i) {
      const auto event = std::make_shared<SocketEvent>();
      event->mstrDescription = QStringLiteral("event %1").arg(i + 1);
      event->mstrData = Payload(data);
      history->AddEvent(event);
    }
    logging.mobjSocketPairHistory.Add(history, key);
    return *history;
  }
};

TEST_F(FrmMainFaceTest, All_that_gets_the_keyboard_or_is_pressed_has_a_name) {
  EXPECT_EQ(look::WithoutName(*face), QStringList());
}

TEST_F(FrmMainFaceTest, The_menus_keys_mean_one_thing_each) {
  const auto expectOneEach = [](const QList<QAction*>& entries, const QString& where) {
    QStringList keys;
    for (const QAction* entry : entries) {
      const QString key = QKeySequence::mnemonic(entry->text()).toString();
      if (key.isEmpty() || !entry->isVisible()) continue;
      EXPECT_FALSE(keys.contains(key)) << where.toStdString() << ": " << entry->text().toStdString();
      keys.append(key);
    }
  };
  const auto* bar = face->findChild<QMenuBar*>();
  ASSERT_NE(bar, nullptr);
  expectOneEach(bar->actions(), QStringLiteral("the bar"));
  for (const QAction* menu : bar->actions()) {
    ASSERT_NE(menu->menu(), nullptr);
    EXPECT_FALSE(menu->menu()->actions().isEmpty());
    expectOneEach(menu->menu()->actions(), menu->text());
  }
}

TEST_F(FrmMainFaceTest, Every_place_of_the_layout_is_taken_to_the_pixel) {
  for (Control* control : window.Controls()) {
    const auto* widget = face->findChild<QWidget*>(control->Name());
    const Rect& place = control->Place();
    if (!widget || qobject_cast<const QMenu*>(widget) || place.width <= 0 || place.height <= 0) continue;
    if (control == &window.panDiagram || control == &window.fraConnectionPanel) continue;
    EXPECT_NEAR(widget->x() * 15, place.left, 8) << control->Name().toStdString();
    EXPECT_NEAR(widget->y() * 15, place.top, 8) << control->Name().toStdString();
    EXPECT_NEAR(widget->width() * 15, place.width, 15) << control->Name().toStdString();
    EXPECT_NEAR(widget->height() * 15, place.height, 15) << control->Name().toStdString();
  }
  EXPECT_EQ(window.ScaleHeight(), (face->height() - Find<QMenuBar>(QStringLiteral("menuBar")).height()) * 15)
      << "the inner area begins under the menu";
}

TEST_F(FrmMainFaceTest, The_window_is_laid_out_anew_at_every_size_and_overlaps_nowhere) {
  for (const QSize size : {QSize(1200, 800), QSize(800, 600), QSize(640, 560), QSize(1024, 700)}) {
    face->resize(size);
    Frame();
    const auto& text = Find<RichTextView>(QStringLiteral("txtRealTime"));
    const auto& status = Find<QWidget>(QStringLiteral("barStatus"));
    EXPECT_LE(Tree().geometry().bottom(), status.y());
    EXPECT_LE(text.geometry().bottom(), status.y());
    EXPECT_LT(Grid().geometry().bottom(), text.y());
    EXPECT_LT(Tree().geometry().right(), Grid().x());
  }
}

TEST_F(FrmMainFaceTest, Each_menu_entry_stands_in_its_menu_and_does_what_its_table_says) {
  auto& bar = Find<QMenuBar>(QStringLiteral("menuBar"));
  QStringList titles;
  for (const QAction* action : bar.actions())
    titles.append(action->text());
  EXPECT_EQ(titles.join(u' '), QStringLiteral("&File &View &Tools &Help"));
  for (const frmMain::MenuRow& row : frmMain::MenuRows()) {
    auto& action = Find<QAction>(QLatin1String(row.name));
    const auto& menu = Find<QMenu>(QLatin1String(row.menu));
    EXPECT_TRUE(menu.actions().contains(&action)) << row.name;
    EXPECT_TRUE(action.shortcut().isEmpty());
    EXPECT_EQ(action.isSeparator(), row.item == nullptr);
    if (!row.item) continue;
    MenuItem& item = window.*row.item;
    EXPECT_EQ(action.text(), QLatin1String(row.caption));
    EXPECT_EQ(action.isEnabled(), item.Enabled()) << row.name;
    int clicks = 0;
    item.OnClick = [&clicks] { ++clicks; };
    item.SetEnabled(false);
    action.trigger();
    EXPECT_EQ(clicks, 0) << row.name;
    item.SetEnabled(true);
    action.trigger();
    EXPECT_EQ(clicks, 1) << row.name;
    EXPECT_EQ(action.isChecked(), item.Checked());
  }
}

TEST_F(FrmMainFaceTest, Mnemonics_open_a_menu_and_choose_from_it) {
  EXPECT_TRUE(general.gblnConnectionDiagramSelected == false);
  face->activateWindow();
  QTest::keyClick(face, Qt::Key_V, Qt::AltModifier);
  auto& menu = Find<QMenu>(QStringLiteral("mnuView"));
  ASSERT_TRUE(menu.isVisible());
  QTest::keyClick(&menu, Qt::Key_C);
  EXPECT_TRUE(general.gblnConnectionDiagramSelected);
  EXPECT_FALSE(menu.isVisible());
}

TEST_F(FrmMainFaceTest, Each_button_has_a_picture_a_tip_and_a_name_and_tells_its_key) {
  for (ToolBar* bar : {&window.barToolbar, &window.barNavigation}) {
    QString clicked;
    bar->OnButtonClick = [&clicked](const QString& key) { clicked = key; };
    for (const ToolBar::Button& row : bar->Buttons()) {
      if (row.key.isEmpty()) continue;
      auto& button = Find<QToolButton>(bar->Name() + u'_' + row.key);
      EXPECT_FALSE(button.icon().isNull()) << row.key.toStdString();
      EXPECT_EQ(button.toolTip(), row.toolTip);
      EXPECT_EQ(button.accessibleName(), row.toolTip);
      bar->SetButtonEnabled(row.key, false);
      QTest::mouseClick(&button, Qt::LeftButton, {}, {6, 8});
      EXPECT_EQ(clicked, QString());
      bar->SetButtonEnabled(row.key, true);
      QTest::mouseClick(&button, Qt::LeftButton, {}, {6, 8});
      EXPECT_EQ(std::exchange(clicked, QString()), row.key);
    }
  }
}

TEST_F(FrmMainFaceTest, Drop_downs_do_what_they_say) {
  Find<QAction>(QStringLiteral("HideRealTime")).trigger();
  EXPECT_FALSE(Find<RichTextView>(QStringLiteral("txtRealTime")).isVisible());
  Find<QAction>(QStringLiteral("ShowRealTime")).trigger();
  EXPECT_TRUE(Find<RichTextView>(QStringLiteral("txtRealTime")).isVisible());
  QTest::mouseClick(&Find<QToolButton>(QStringLiteral("chkCloseRealTime")), Qt::LeftButton);
  EXPECT_FALSE(Find<RichTextView>(QStringLiteral("txtRealTime")).isVisible());
  EXPECT_EQ(Grid().height(), Tree().height());
}

TEST_F(FrmMainFaceTest, Every_image_key_has_a_picture_that_differs_in_shape_not_in_colour_alone) {
  QList<QImage> shapes;
  for (const char* key : {"AllActivity", "Protocol", "Connection", "Socket", "SocketDisconnected", "Event",
                          "Clear", "Configure", "Options", "SaveData", "RealTime", "Errors",
                          "ConnectionDiagram", "KeepOnTop", "First", "Previous", "Next", "Last"}) {
    const QIcon icon = Picture(QLatin1String(key));
    ASSERT_FALSE(icon.isNull()) << key;
    const QImage shape = icon.pixmap(QSize(32, 32)).toImage().convertToFormat(QImage::Format_Alpha8);
    EXPECT_FALSE(shapes.contains(shape)) << key;
    shapes.append(shape);
  }
  EXPECT_TRUE(Picture(QStringLiteral("Nothing")).isNull());
}

TEST_F(FrmMainFaceTest, The_tree_opens_with_the_mouse_and_with_the_keys) {
  AddConnection(QStringLiteral("KEY1"), 3);
  Click(Tree(), TreeIndex({0, 0}));
  EXPECT_TRUE(Tree().isExpanded(TreeIndex({0, 0})));
  QTest::keyClick(&Tree(), Qt::Key_Down);
  Frame();
  QTest::keyClick(&Tree(), Qt::Key_Down);
  Frame();
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("KEY1"));
  EXPECT_EQ(Tree().model()->rowCount(TreeIndex({0, 0, 0, 0})), 3);
  EXPECT_TRUE(Tree().isExpanded(TreeIndex({0, 0, 0, 0})));
  EXPECT_EQ(Grid().model()->rowCount(), 3);
  QTest::keyClick(&Tree(), Qt::Key_Left);
  EXPECT_FALSE(Tree().isExpanded(TreeIndex({0, 0, 0, 0})));
  QTest::keyClick(&Tree(), Qt::Key_Return);
  Frame();
  EXPECT_TRUE(Tree().isExpanded(TreeIndex({0, 0, 0, 0}))) << "Enter opens what the left arrow has closed";
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainFaceTest, Enter_and_double_clicks_in_the_grid_lead_down) {
  AddConnection(QStringLiteral("KEY1"), 3);
  Click(Tree(), TreeIndex({0}));
  const QPoint first = Grid().visualRect(Grid().model()->index(0, 0)).center();
  QTest::mouseClick(Grid().viewport(), Qt::LeftButton, {}, first);
  QTest::mouseDClick(Grid().viewport(), Qt::LeftButton, {}, first);
  Frame();
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("KEY1"));
  EXPECT_EQ(Tree().currentIndex(), TreeIndex({0, 0, 0, 0}))
      << "the tree shows the selection that the grid made";
  Click(Grid(), Grid().model()->index(1, 0));
  QTest::keyClick(&Grid(), Qt::Key_Return);
  Frame();
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("KEY1-2"));
}

TEST_F(FrmMainFaceTest, Enter_opens_the_one_row_that_the_focus_came_to) {
  AddConnection(QStringLiteral("KEY1"), 3);
  Click(Tree(), TreeIndex({0}));
  face->activateWindow();
  Tree().setFocus();
  for (int i = 0; i < 20 && face->focusWidget() != &Grid(); ++i)
    QTest::keyClick(face->focusWidget(), Qt::Key_Tab);
  ASSERT_EQ(face->focusWidget(), &Grid());
  Frame();
  QTest::keyClick(&Grid(), Qt::Key_Return);
  Frame();
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("KEY1"));
}

TEST_F(FrmMainFaceTest, A_node_that_moves_away_under_the_pressed_mouse_stays_the_marked_one) {
  AddConnection(QStringLiteral("KEY1"), 3);
  window.tvwSockets
      .Add(QStringLiteral("ROOT"), QStringLiteral("PROTO7000"), QStringLiteral("Last (7000)"),
           QStringLiteral("Protocol"))
      .SetTag(QStringLiteral("7000"));
  for (int i = 0; i < 12; ++i) {
    window.tvwSockets
        .Add(QStringLiteral("ROOT"), QStringLiteral("X%1").arg(i), QStringLiteral("below"),
             QStringLiteral("Protocol"))
        .SetTag(QStringLiteral("7000"));
  }
  for (const std::initializer_list<int> rows : {std::initializer_list<int>{0, 0}, {0, 0, 0}, {0, 0, 0, 0}})
    Click(Tree(), TreeIndex(rows));
  const QPersistentModelIndex pressed = TreeIndex({0, 2});
  ASSERT_EQ(pressed.data().toString(), QStringLiteral("Last (7000)"));
  const QPoint place = Tree().visualRect(pressed).center();
  QTest::mousePress(Tree().viewport(), Qt::LeftButton, {}, place);
  Frame();
  ASSERT_NE(Tree().indexAt(place), QModelIndex(pressed)) << "the branch above it has folded";
  QMouseEvent move(QEvent::MouseMove, place + QPoint(1, 0), Tree().viewport()->mapToGlobal(place),
                   Qt::NoButton, Qt::LeftButton, {});
  QCoreApplication::sendEvent(Tree().viewport(), &move);
  EXPECT_NE(Tree().currentIndex(), QModelIndex(pressed)) << "the view itself goes by the mouse";
  Frame();
  QTest::mouseRelease(Tree().viewport(), Qt::LeftButton, {}, place + QPoint(1, 0));
  Frame();
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("PROTO7000"));
  EXPECT_EQ(Tree().currentIndex(), QModelIndex(pressed));
  EXPECT_EQ(Tree().selectionModel()->selectedRows(), QModelIndexList{pressed});
}

TEST_F(FrmMainFaceTest, Whatever_the_mouse_does_the_chosen_row_of_the_grid_is_the_marked_one) {
  for (const char* key : {"KEY1", "KEY2", "KEY3"})
    AddConnection(QLatin1String(key), 1);
  Click(Tree(), TreeIndex({0}));
  const QModelIndex first = Grid().model()->index(0, 0);
  const QPoint from = Grid().visualRect(first).center();
  const QPoint to = Grid().visualRect(Grid().model()->index(1, 0)).center();
  const auto expectFirst = [&] {
    EXPECT_EQ(window.lvwDetails.SelectedItem()->Key(), QStringLiteral("KEY1"));
    EXPECT_EQ(Grid().selectionModel()->selectedRows(), QModelIndexList{first});
    EXPECT_EQ(Grid().currentIndex().row(), 0);
  };
  QTest::mousePress(Grid().viewport(), Qt::LeftButton, {}, from);
  QMouseEvent drag(QEvent::MouseMove, to, Grid().viewport()->mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                   {});
  QCoreApplication::sendEvent(Grid().viewport(), &drag);
  EXPECT_FALSE(Grid().selectionModel()->isSelected(first)) << "the view itself goes by the mouse";
  QTest::mouseRelease(Grid().viewport(), Qt::LeftButton, {}, to);
  Frame();
  expectFirst();
  QTest::mouseClick(Grid().viewport(), Qt::LeftButton, Qt::ControlModifier, from);
  EXPECT_FALSE(Grid().selectionModel()->isSelected(first));
  Frame();
  expectFirst();
}

TEST_F(FrmMainFaceTest, The_keys_go_to_the_diagram_where_it_lies_over_the_grid) {
  AddConnection(QStringLiteral("KEY1"), 3);
  Click(Tree(), TreeIndex({0}));
  auto& diagram = Find<QWidget>(QStringLiteral("panDiagram"));
  general.gblnConnectionDiagramSelected = true;
  face->activateWindow();
  Grid().setFocus();
  Click(Grid(), Grid().model()->index(0, 0));
  QTest::keyClick(&Grid(), Qt::Key_Return);
  ASSERT_TRUE(window.panDiagramOuter.Visible());
  EXPECT_EQ(face->focusWidget(), &diagram);
  const auto reaches = [this](const QWidget& wanted) {
    Tree().setFocus();
    for (int i = 0; i < 30; ++i) {
      QTest::keyClick(face->focusWidget(), Qt::Key_Tab);
      if (face->focusWidget() == &wanted) return true;
    }
    return false;
  };
  EXPECT_TRUE(reaches(diagram));
  EXPECT_FALSE(reaches(Grid()));
  window.mnuEventHistory.Click();
  EXPECT_TRUE(reaches(Grid()));
  EXPECT_FALSE(reaches(diagram));
}

TEST_F(FrmMainFaceTest, A_right_click_and_the_menu_key_open_the_menu_once) {
  int selections = 0;
  int menus = 0;
  QObject::connect(&window.mnuPopup, &PopUpMenu::Asked, face, [&] { ++menus; });
  const auto react = window.tvwSockets.OnNodeClick;
  window.tvwSockets.OnNodeClick = [&](TreeNode& node) {
    ++selections;
    react(node);
  };
  auto& menu = Find<QMenu>(QStringLiteral("mnuPopup"));
  Click(Tree(), TreeIndex({0, 0}), Qt::RightButton);
  EXPECT_EQ(menus, 1);
  EXPECT_EQ(selections, 0) << "the press is not a choice of its own beside the menu's";
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("PROTO1000"));
  EXPECT_TRUE(menu.isVisible());
  const QPoint mouse = Tree().viewport()->mapToGlobal(Tree().visualRect(TreeIndex({0, 0})).center());
  EXPECT_NEAR(menu.x(), mouse.x(), 3);
  EXPECT_NEAR(menu.y(), mouse.y(), 3);
  menu.close();
  QContextMenuEvent key(QContextMenuEvent::Keyboard, {}, {});
  QCoreApplication::sendEvent(&Tree(), &key);
  EXPECT_EQ(menus, 2);
  EXPECT_TRUE(menu.isVisible());
  Find<QAction>(QStringLiteral("mnuStopListening")).trigger();
  Frame();
  EXPECT_EQ(TreeIndex({0, 0}).data().toString(), QStringLiteral("Apps (1000) - Not Listening"));
}

TEST_F(FrmMainFaceTest, A_click_on_a_header_sorts_the_rows_and_widths_are_the_tables) {
  AddConnection(QStringLiteral("KEY1"), 1).mlngBytesC2S = 9;
  AddConnection(QStringLiteral("KEY2"), 1).mlngBytesC2S = 10000;
  Click(Tree(), TreeIndex({0}));
  EXPECT_EQ(Grid().columnWidth(0), 1964 / 15);
  EXPECT_EQ(Grid().columnWidth(8), 1049 / 15);
  Grid().header()->resizeSection(1, 40);
  const QPoint column(Grid().header()->sectionViewportPosition(6) + 9, 6);
  QTest::mouseClick(Grid().header()->viewport(), Qt::LeftButton, {}, column);
  Frame();
  EXPECT_EQ(Grid().model()->index(0, 6).data().toString(), QStringLiteral("10000"));
  QTest::mouseClick(Grid().header()->viewport(), Qt::LeftButton, {}, column);
  Frame();
  EXPECT_EQ(Grid().model()->index(0, 6).data().toString(), QStringLiteral("9"));
  EXPECT_EQ(Grid().columnWidth(1), 40) << "a width that was dragged stays until the next column set";
  Click(Tree(), TreeIndex({0, 0}));
  EXPECT_EQ(Grid().columnWidth(1), 2190 / 15);
}

TEST_F(FrmMainFaceTest, Of_a_very_long_text_only_the_beginning_is_drawn_and_at_once) {
  AddConnection(QStringLiteral("KEY1"), 1, QByteArray(256 * 1024, 'A') + "\r\n\x01");
  window.tvwSockets.ClickNode(window.tvwSockets.Node(QStringLiteral("PROTO1000")));
  window.tvwSockets.ClickNode(window.tvwSockets.Node(QStringLiteral("CON100010.0.0.110.0.0.2")));
  window.tvwSockets.ClickNode(window.tvwSockets.Node(QStringLiteral("KEY1")));
  Frame();
  QElapsedTimer clock;
  clock.start();
  window.tvwSockets.ClickNode(window.tvwSockets.Node(QStringLiteral("KEY1-1")));
  Frame();
  Grid().viewport()->repaint();
  Grid().resizeColumnToContents(1);
  EXPECT_LT(clock.elapsed(), 500);
  EXPECT_EQ(window.lvwDetails.Item(QStringLiteral("Data")).SubItem(1).size(), 256 * 1024 + 3)
      << "the data itself stands";
  EXPECT_EQ(PictureDelegate::Shown(QString(600, u'A')).size(), PictureDelegate::kLongest + 1);
  EXPECT_EQ(PictureDelegate::Shown(QStringLiteral("a\r\nb\x01")), QStringLiteral("a  b\u00b7"));
}

TEST_F(FrmMainFaceTest, Splitters_follow_the_mouse_and_the_panes_move_on_release) {
  auto& splitter = Find<QWidget>(QStringLiteral("imgSplitterVert"));
  const int before = Tree().width();
  const QPoint start(2, 100);
  QTest::mousePress(&splitter, Qt::LeftButton, {}, start);
  QTest::mouseMove(&splitter, start + QPoint(60, 0));
  EXPECT_TRUE(Find<QWidget>(QStringLiteral("shpDrag")).isVisible());
  EXPECT_EQ(Tree().width(), before);
  QTest::mouseRelease(&splitter, Qt::LeftButton, {}, start + QPoint(60, 0));
  EXPECT_EQ(Tree().width(), before + 60);
  EXPECT_FALSE(Find<QWidget>(QStringLiteral("shpDrag")).isVisible());
}

TEST_F(FrmMainFaceTest, Status_panels_show_their_texts_react_to_double_clicks_and_keep_a_clock) {
  const auto panel = [this](int number) -> QLabel& {
    return Find<QLabel>(QStringLiteral("barStatus_%1").arg(number));
  };
  window.SetPaneText(8, QStringLiteral("Logging: Off "));
  EXPECT_EQ(panel(8).text(), QStringLiteral("Logging: Off "));
  QTest::mouseDClick(&panel(8), Qt::LeftButton);
  EXPECT_TRUE(chkLoggingEnabled.IsOn());
  EXPECT_FALSE(panel(9).text().isEmpty());
}

TEST_F(FrmMainFaceTest, Everything_that_can_be_used_without_a_text_has_a_name) {
  for (const QWidget* widget : face->findChildren<QWidget*>()) {
    const bool usable = widget->focusPolicy() != Qt::NoFocus && widget->isVisible();
    if (!usable || qobject_cast<const QMenuBar*>(widget) || qobject_cast<const QMenu*>(widget)) continue;
    if (widget->objectName().startsWith(u"qt_") || widget->objectName().isEmpty()) continue;
    EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->objectName().toStdString();
  }
}

TEST_F(FrmMainFaceTest, The_animation_plays_and_stands) {
  auto& working = Find<QWidget>(QStringLiteral("aniWorking"));
  const auto shot = [&] { return working.grab().toImage(); };
  window.aniWorking.Open(QStringLiteral(VELTRANE_SOURCE_FOLDER "/res/Processing.avi"));
  const QImage still = shot();
  QTest::qWait(250);
  EXPECT_EQ(shot(), still);
  window.aniWorking.Play();
  const QImage first = shot();
  QTest::qWait(250);
  EXPECT_NE(shot(), first);
  EXPECT_EQ(working.toolTip(), QStringLiteral("A connection is alive"));
  window.aniWorking.Stop();
  const QImage stopped = shot();
  QTest::qWait(250);
  EXPECT_EQ(shot(), stopped);
  EXPECT_EQ(working.toolTip(), QStringLiteral("No connection is alive"));
}

TEST_F(FrmMainFaceTest, Real_time_data_is_shown_in_one_width) {
  auto& text = Find<RichTextView>(QStringLiteral("txtRealTime"));
  EXPECT_EQ(text.font().family(), QStringLiteral("Courier"));
  EXPECT_TRUE(QFontInfo(text.Cells().Font()).fixedPitch());
  window.txtRealTime.SetSelText(QStringLiteral("<b>x</b>\r\n"));
  Frame();
  EXPECT_EQ(text.LineCount(), 2);
}

TEST_F(FrmMainFaceTest, Tree_and_grid_show_their_models_after_1000_random_changes) {
  QRandomGenerator random(20260309);
  TreeView& tree = window.tvwSockets;
  ListView& grid = window.lvwDetails;
  QStringList nodes{QStringLiteral("ROOT")};
  QStringList rows;
  const auto any = [&random](const QStringList& list) {
    return list.at(static_cast<int>(random.bounded(static_cast<quint32>(list.size()))));
  };
  grid.Clear();
  grid.SetSorted(true);
  for (int change = 0; change < 1000; ++change) {
    const QString key = QStringLiteral("N%1").arg(change);
    const quint32 kind = random.bounded(10U);
    nodes.removeIf([&tree](const QString& node) { return !tree.Contains(node); });
    if (kind < 4) {
      tree.Add(any(nodes), key, QStringLiteral("node %1").arg(change), QStringLiteral("Event"));
      nodes.append(key);
      grid.Add(key, QString::number(random.bounded(1000U)));
      rows.append(key);
    } else if (kind == 4) {
      const QString node = any(nodes);
      if (node != u"ROOT" && tree.Node(node).ChildCount() < 3) tree.Remove(node);
    } else if (kind == 5) {
      tree.Node(any(nodes)).SetText(QStringLiteral("renamed %1").arg(change));
    } else if (kind == 6) {
      TreeNode& node = tree.Node(any(nodes));
      node.SetExpanded(!node.Expanded());
    } else if (kind == 7 && !rows.isEmpty()) {
      const QString row = any(rows);
      grid.Remove(row);
      rows.removeOne(row);
    } else if (kind == 8 && !rows.isEmpty()) {
      grid.Item(any(rows)).SetText(QString::number(random.bounded(1000U)));
    } else if (kind == 9 && !rows.isEmpty()) {
      grid.SetSelectedItem(&grid.Item(any(rows)));
    }
    if (random.bounded(20U) == 0) Frame();
  }
  Frame();
  QStringList expected;
  QStringList shown;
  Lines(tree.Node(QStringLiteral("ROOT")), 0, expected);
  Lines(Tree(), TreeIndex({0}), 0, shown);
  EXPECT_GT(expected.size(), 100);
  EXPECT_EQ(shown, expected);
  ASSERT_EQ(Grid().model()->rowCount(), grid.Count());
  for (int row = 1; row < Grid().model()->rowCount(); ++row) {
    EXPECT_LE(Grid().model()->index(row - 1, 0).data().toString(),
              Grid().model()->index(row, 0).data().toString());
  }
  for (int row = 0; row < Grid().model()->rowCount(); ++row) {
    const QModelIndex index = Grid().model()->index(row, 0);
    EXPECT_EQ(index.data().toString(), grid.Item(index.data(ListModel::kKeyRole).toString()).Text());
  }
  ASSERT_NE(grid.SelectedItem(), nullptr);
  EXPECT_EQ(Grid().currentIndex().data(ListModel::kKeyRole).toString(), grid.SelectedItem()->Key());
}

TEST_F(FrmMainFaceTest, What_the_view_unfolds_by_itself_is_unfolded_in_the_tree_too) {
  const auto expectSame = [this](const char* when) {
    Frame();
    QStringList expected;
    QStringList shown;
    Lines(window.tvwSockets.Node(QStringLiteral("ROOT")), 0, expected);
    Lines(Tree(), TreeIndex({0}), 0, shown);
    EXPECT_EQ(shown, expected) << when;
    EXPECT_EQ(Tree().currentIndex().data(TreeModel::kKeyRole).toString(), window.mnodSelectedNode->Key())
        << when;
  };
  AddConnection(QStringLiteral("KEY1"), 3);
  Click(Tree(), TreeIndex({0, 0}));
  Click(Tree(), TreeIndex({0, 0, 0}));
  Click(Tree(), TreeIndex({0, 0, 0, 0}));
  expectSame("opened");
  // From the grid into a branch that was folded by hand.
  Tree().collapse(TreeIndex({0, 0, 0, 0}));
  EXPECT_FALSE(window.tvwSockets.Node(QStringLiteral("KEY1")).Expanded());
  Click(Grid(), Grid().model()->index(1, 0));
  QTest::keyClick(&Grid(), Qt::Key_Return);
  expectSame("from the grid");
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("KEY1-2"));
  EXPECT_TRUE(window.tvwSockets.Node(QStringLiteral("KEY1")).Expanded());
  // A selection that goes up, under a port that was folded by hand.
  Tree().collapse(TreeIndex({0, 0}));
  EXPECT_FALSE(window.tvwSockets.Node(QStringLiteral("PROTO1000")).Expanded());
  window.tvwSockets.Remove(QStringLiteral("KEY1-2"));
  expectSame("gone up");
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("KEY1"));
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainFaceTest, The_selection_survives_updates_that_do_not_concern_it) {
  AddConnection(QStringLiteral("KEY1"), 3);
  Click(Tree(), TreeIndex({0, 0}));
  for (int i = 0; i < 50; ++i) {
    window.tvwSockets.Add(QStringLiteral("ROOT"), QStringLiteral("X%1").arg(i), QStringLiteral("more"),
                          QStringLiteral("Protocol"));
    window.tvwSockets.Node(QStringLiteral("PROTO25")).SetText(QStringLiteral("text %1").arg(i));
    if (i > 0) window.tvwSockets.Remove(QStringLiteral("X%1").arg(i - 1));
    Frame();
    ASSERT_EQ(Tree().currentIndex().data(TreeModel::kKeyRole).toString(), QStringLiteral("PROTO1000"));
    ASSERT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("PROTO1000"));
  }
}

TEST_F(FrmMainFaceTest, Minimising_and_coming_back_keep_the_layout) {
  const QRect before = Grid().geometry();
  face->showMinimized();
  Frame();
  EXPECT_EQ(window.State(), WindowState::kMinimized);
  face->showNormal();
  Frame();
  EXPECT_EQ(window.State(), WindowState::kNormal);
  EXPECT_EQ(Grid().geometry(), before);
}

}  // namespace
}  // namespace veltrane
