#include <QAbstractItemModelTester>

#include <gtest/gtest.h>
#include <random>

#include "forms/Form.h"
#include "forms/ListModel.h"
#include "forms/ListView.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/LeastTime.h"

namespace veltrane {
namespace {

struct ListTest : testing::Test {
  void SetUp() override {
    list.AddColumnHeader({QStringLiteral("AA1"), QStringLiteral("From"), 1964});
    list.AddColumnHeader({QStringLiteral("AA2"), QStringLiteral("Bytes"), 900});
  }
  void Add(const char* key, const char* bytes) {
    list.Add(QLatin1String(key), QLatin1String(key), QStringLiteral("Socket"))
        .SetSubItem(1, QLatin1String(bytes));
  }
  static QString Shown(const ListModel& model, int column = 0) {
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
      texts.append(model.index(row, column).data().toString());
    return texts.join(u' ');
  }

  Journal journal;
  FakeDesktop desktop{journal};
  Form form{desktop, QStringLiteral("frm")};
  ListView list{form, QStringLiteral("lvw")};
};

TEST_F(ListTest, Rows_by_key_and_position) {
  Add("b", "1");
  Add("a", "2");
  EXPECT_EQ(list.Count(), 2);
  EXPECT_EQ(list.Item(1).Key(), QStringLiteral("b"));
  EXPECT_EQ(list.Item(QStringLiteral("a")).SubItem(1), QStringLiteral("2"));
  EXPECT_EQ(list.Item(1).SubItem(5), QString());
  EXPECT_EQ(list.Find(QStringLiteral("c")), nullptr);
  EXPECT_THROW(list.Item(QStringLiteral("c")), Failure);
  EXPECT_THROW(Add("a", "3"), Failure);
  EXPECT_THROW(list.Item(1).SetSubItem(0, {}), Failure);
}

TEST_F(ListTest, Removing_the_selected_row_clears_the_selection) {
  Add("a", "1");
  list.ClickItem(list.Item(1));
  EXPECT_EQ(list.SelectedItem(), &list.Item(1));
  list.Remove(QStringLiteral("a"));
  EXPECT_EQ(list.SelectedItem(), nullptr);
  EXPECT_EQ(list.Count(), 0);
}

TEST_F(ListTest, The_model_shows_headers_rows_and_icons) {
  Add("a", "1");
  const ListModel model(list);
  EXPECT_EQ(model.columnCount(), 2);
  EXPECT_EQ(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("Bytes"));
  EXPECT_EQ(model.headerData(1, Qt::Horizontal, Qt::ToolTipRole).toString(), QStringLiteral("Bytes"));
  EXPECT_FALSE(model.headerData(1, Qt::Horizontal, Qt::DecorationRole).isValid());
  EXPECT_EQ(Shown(model, 1), QStringLiteral("1"));
  EXPECT_EQ(model.index(0, 0).data(ListModel::kImageRole).toString(), QStringLiteral("Socket"));
  EXPECT_EQ(model.index(0, 0).data(ListModel::kKeyRole).toString(), QStringLiteral("a"));
  EXPECT_EQ(model.ItemAt(model.index(0, 1)), &list.Item(1));
}

TEST_F(ListTest, Sorting_is_by_text_for_numbers_too_and_stays_on_for_later_rows) {
  Add("a", "10000");
  Add("b", "9");
  Add("c", "2");
  ListModel model(list);
  const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  list.SetSorted(true);
  list.SetSortKey(1);
  model.Publish();
  EXPECT_EQ(Shown(model, 1), QStringLiteral("10000 2 9"));
  Add("d", "3");
  model.Publish();
  EXPECT_EQ(Shown(model, 1), QStringLiteral("10000 2 3 9"));
  list.SetSortOrder(1);
  model.Publish();
  EXPECT_EQ(Shown(model, 1), QStringLiteral("9 3 2 10000"));
  list.Item(QStringLiteral("d")).SetSubItem(1, QStringLiteral("91"));
  model.Publish();
  EXPECT_EQ(Shown(model, 1), QStringLiteral("91 9 2 10000"));
}

TEST_F(ListTest, A_persistent_index_stays_with_its_row_when_the_order_changes) {
  Add("b", "1");
  Add("a", "2");
  ListModel model(list);
  const QPersistentModelIndex index(model.index(0, 0));
  list.SetSorted(true);
  model.Publish();
  EXPECT_EQ(index.row(), 1);
  EXPECT_EQ(index.data().toString(), QStringLiteral("b"));
}

TEST_F(ListTest, One_more_row_costs_the_same_however_many_there_are) {
  const auto timeOfOne = [this](int rows) {
    while (list.Count() < rows)
      list.Add(QString::number(list.Count()), QStringLiteral("row"));
    ListModel model(list);
    const auto time = LeastTime(50, [&] {
      list.Add(QString::number(list.Count()), QStringLiteral("row"));
      model.Publish();
    });
    EXPECT_EQ(model.rowCount(), list.Count());
    EXPECT_EQ(model.IndexOf(list.Item(list.Count())).row(), model.rowCount() - 1);
    return time;
  };
  const auto few = timeOfOne(10);
  EXPECT_LT(timeOfOne(100000), few * 20);
}

TEST_F(ListTest, Rows_that_come_go_and_are_sorted_within_a_frame_end_as_the_list_has_them) {
  std::mt19937 chance(20261121);
  ListModel model(list);
  const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  int number = 0;
  for (int frame = 0; frame < 300; ++frame) {
    for (int step = static_cast<int>(chance() % 4); step >= 0; --step) {
      const auto what = chance() % 8;
      if (what < 5) {
        Add(QByteArray::number(++number).constData(), "1");
      } else if (what < 7 && list.Count() > 0) {
        list.Remove(
            list.Item(1 + static_cast<qsizetype>(chance() % static_cast<quint64>(list.Count()))).Key());
      } else if (chance() % 8 == 0) {
        list.SetSorted(!list.Sorted());
      }
    }
    model.Publish();
    QStringList expected;
    for (qsizetype i = 1; i <= list.Count(); ++i)
      expected.append(list.Item(i).Key());
    if (list.Sorted()) std::sort(expected.begin(), expected.end());
    ASSERT_EQ(Shown(model), expected.join(u' ')) << frame;
  }
}

TEST_F(ListTest, New_column_sets_reset_the_model) {
  Add("a", "1");
  ListModel model(list);
  list.ClearColumnHeaders();
  list.AddColumnHeader({QStringLiteral("ED1"), QStringLiteral("Item"), 2129});
  list.Clear();
  list.Add(QStringLiteral("x"), QStringLiteral("x"));
  model.Publish();
  EXPECT_EQ(model.columnCount(), 1);
  EXPECT_EQ(Shown(model), QStringLiteral("x"));
}

TEST_F(ListTest, The_model_follows_random_changes) {
  std::mt19937 random(7);
  ListModel model(list);
  const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  int next = 0;
  for (int round = 0; round < 3000; ++round) {
    const auto any = [&] {
      return 1 + static_cast<qsizetype>(random() % static_cast<unsigned>(list.Count()));
    };
    switch (random() % 9) {
      case 0:
        if (list.Count() > 3) list.Remove(list.Item(any()).Key());
        break;
      case 1:
      case 2:
        if (list.Count() > 0) list.Item(any()).SetSubItem(1, QString::number(random() % 100));
        break;
      case 3:
        list.SetSortKey(static_cast<int>(random() % 2));
        break;
      case 4:
        list.SetSorted(random() % 3 == 0);
        break;
      case 5:
        if (random() % 40 == 0) list.Clear();
        break;
      default:
        if (list.Count() < 40) list.Add(QStringLiteral("K%1").arg(++next), QString::number(random() % 50));
    }
    if (random() % 4) continue;
    model.Publish();
    ASSERT_EQ(model.rowCount(), list.Count());
    for (qsizetype i = 1; i <= list.Count(); ++i) {
      const QModelIndex index = model.IndexOf(list.Item(i));
      ASSERT_TRUE(index.isValid());
      EXPECT_EQ(index.data().toString(), list.Item(i).Text());
      EXPECT_EQ(model.index(index.row(), 1).data().toString(), list.Item(i).SubItem(1));
    }
    for (int row = 1; list.Sorted() && row < model.rowCount(); ++row) {
      const int column = list.SortKey();
      const int order = QString::compare(model.index(row - 1, column).data().toString(),
                                         model.index(row, column).data().toString(), Qt::CaseInsensitive);
      EXPECT_LE(order, 0);
    }
  }
}

}  // namespace
}  // namespace veltrane
