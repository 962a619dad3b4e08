#include <gtest/gtest.h>

#include "protocols/ProtocolTable.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

TEST(ProtocolTableTest, Each_value_of_the_port_table_has_its_handler) {
  World world;
  QHash<QString, QString> names;
  for (const ProtocolRow& row : AllProtocols())
    names.insert(row.value, row.create(world.mGeneral)->GetProtocolName());
  const QHash<QString, QString> expected{
      {QStringLiteral("HTTP"), QStringLiteral("HTTP")},
      {QStringLiteral("Pass Through"), QStringLiteral("Pass Through")},
      {QStringLiteral("FTP Data - Dynamically allocated"), QStringLiteral("Pass Through")},
      {QStringLiteral("FTP"), QStringLiteral("FTP")},
      {QStringLiteral("POP3"), QStringLiteral("POP3")},
      {QStringLiteral("HTTPS"), QStringLiteral("HTTPS")},
  };
  EXPECT_EQ(names, expected);
}

TEST(ProtocolTableTest, The_list_offered_to_the_user_stands_in_its_order) {
  World world;
  QStringList names;
  for (const auto& create : ListedProtocols())
    names.append(create(world.mGeneral)->GetProtocolName());
  EXPECT_EQ(names, (QStringList{QStringLiteral("HTTP"), QStringLiteral("Pass Through"),
                                QStringLiteral("HTTPS"), QStringLiteral("POP3"), QStringLiteral("FTP")}));
}

}  // namespace
}  // namespace veltrane
