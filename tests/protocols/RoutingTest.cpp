// The functions that find a destination in a connection's first bytes, as tables.
#include <QHash>

#include <cmath>
#include <gtest/gtest.h>

#include "base/Failure.h"
#include "engine/PortTable.h"
#include "protocols/Routing.h"
#include "tests/support/Journal.h"

namespace veltrane {
namespace {

const QByteArray kHttp = "http://";
const QByteArray kHttps = "https://";

struct Keys {
  QHash<QString, QString> values;
  mutable QStringList asked;

  SettingReader Reader() const {
    return [this](const QString& key, const QString& defaultValue) {
      asked.append(key);
      return values.value(key, defaultValue);
    };
  }
};

/// What a routing gave: the failure's number, or 0, and the three values as they stand.
struct Outcome {
  qint32 failure = 0;
  QByteArray data;
  QString host;
  qint32 port = 0;
};

template <class Routing>
Outcome Routed(const QByteArray& text, Routing&& routing) {
  Outcome outcome;
  Payload data(text);
  try {
    routing(data, outcome.host, outcome.port);
  } catch (const Failure& failure) {
    outcome.failure = failure.Number();
  }
  outcome.data = data.Bytes();
  return outcome;
}

Outcome Web(const QByteArray& text, const Keys& keys = {}, const QByteArray& scheme = kHttp) {
  return Routed(text, [&](Payload& data, QString& host, qint32& port) {
    RouteWebRequest(scheme, keys.Reader(), data, host, port);
  });
}

struct WebRow {
  const char* name;
  const char* text;
  const char* host;
  qint32 port;
  const char* sent;
};

constexpr qint32 kSpecific = 8888;

Keys SpecificPort() {
  return {{{QStringLiteral("SpecificPort"), QString::number(kSpecific)}}, {}};
}

void ExpectRow(const WebRow& row, const QByteArray& scheme) {
  // The rest of the request is never touched.
  const QByteArray rest = "\r\nHost: other\r\nAccept: http://x/ HTTP/1.0\r\n\r\nbody \xff\x00";
  const Outcome outcome = Web(row.text + rest, SpecificPort(), scheme);
  EXPECT_EQ(outcome.failure, 0);
  EXPECT_EQ(outcome.host, QLatin1String(row.host));
  EXPECT_EQ(outcome.port, row.port);
  EXPECT_EQ(outcome.data, row.sent + rest);
}

std::string NameOf(const testing::TestParamInfo<WebRow>& row) {
  return row.param.name;
}

struct HttpRouting : testing::TestWithParam<WebRow> {};

TEST_P(HttpRouting, Gives_host_port_and_text) {
  ExpectRow(GetParam(), kHttp);
}

INSTANTIATE_TEST_SUITE_P(
    Table, HttpRouting,
    testing::Values(
        WebRow{"absolute", "GET http://host/a/b HTTP/1.0", "host", kSpecific, "GET /a/b HTTP/1.0"},
        WebRow{"with_port", "GET http://host:8080/a HTTP/1.1", "host", 8080, "GET /a HTTP/1.1"},
        WebRow{"any_case", "GET HTTP://Host/ HTTP/1.0", "Host", kSpecific, "GET / HTTP/1.0"},
        WebRow{"no_path_leaves_two_blanks", "GET http://host HTTP/1.0", "host", kSpecific, "GET  HTTP/1.0"},
        WebRow{"port_not_numeric", "GET http://host:x/ HTTP/1.0", "host", kSpecific, "GET / HTTP/1.0"},
        WebRow{"relative", "GET /a HTTP/1.0", "", kSpecific, "GET /a HTTP/1.0"},
        WebRow{"http_inside_the_url", "GET http://host/http/a HTTP/1.0", "host", kSpecific,
               "GET / http/a HTTP/1.0"},
        WebRow{"any_method", "FROBNICATE http://host/ HTTP/1.1", "host", kSpecific, "FROBNICATE / HTTP/1.1"},
        WebRow{"empty_port", "GET http://host:/a HTTP/1.0", "host", kSpecific, "GET /a HTTP/1.0"},
        WebRow{"lower_case_protocol", "GET http://host/a http/1.0", "host", kSpecific, "GET /a http/1.0"},
        WebRow{"scheme_anywhere_cuts_the_first_seven", "GET 1234567host/x?http://y HTTP/1.0", "host",
               kSpecific, "GET /x?http://y HTTP/1.0"},
        WebRow{"scheme_late_eats_the_host", "GET www.example.org/http:// HTTP/1.0", "mple.org", kSpecific,
               "GET /http:// HTTP/1.0"},
        WebRow{"query_and_second_colon", "GET http://host:81:82/a?b=c:d HTTP/1.0", "host", kSpecific,
               "GET /a?b=c:d HTTP/1.0"},
        WebRow{"blanks_around_the_url", "GET   http://host/a   HTTP/1.0", "host", kSpecific,
               "GET /a HTTP/1.0"},
        WebRow{"blanks_inside_the_url", "GET http://host/a b HTTP/1.0", "host", kSpecific,
               "GET /a b HTTP/1.0"},
        WebRow{"port_rounds_halves_to_even", "GET http://host:80.5/ HTTP/1.0", "host", 80, "GET / HTTP/1.0"},
        WebRow{"port_with_exponent", "GET http://host:8e3/ HTTP/1.0", "host", 8000, "GET / HTTP/1.0"},
        WebRow{"port_beyond_what_exists", "GET http://host:70000/ HTTP/1.0", "host", 70000, "GET / HTTP/1.0"},
        WebRow{"authority", "CONNECT host:443 HTTP/1.1", "host", 443, "CONNECT  HTTP/1.1"},
        WebRow{"other_scheme", "GET https://host/a HTTP/1.0", "https", kSpecific, "GET //host/a HTTP/1.0"},
        WebRow{"user_and_password_split_at_the_first_colon", "GET http://u:p@host/a HTTP/1.0", "u", kSpecific,
               "GET /a HTTP/1.0"},
        WebRow{"nothing_between", "GET HTTP/1.0", "", kSpecific, "GET  HTTP/1.0"}),
    NameOf);

struct HttpsRouting : testing::TestWithParam<WebRow> {};

TEST_P(HttpsRouting, Gives_host_and_port) {
  ExpectRow(GetParam(), kHttps);
}

INSTANTIATE_TEST_SUITE_P(
    Table, HttpsRouting,
    testing::Values(
        WebRow{"connect", "CONNECT host:443 HTTP/1.0", "host", 443, "CONNECT  HTTP/1.0"},
        WebRow{"connect_without_port", "CONNECT host HTTP/1.0", "host", kSpecific, "CONNECT  HTTP/1.0"},
        WebRow{"its_own_scheme", "GET https://host:444/a HTTP/1.0", "host", 444, "GET /a HTTP/1.0"},
        WebRow{"the_plain_scheme_stays_and_is_the_host", "GET http://host/a HTTP/1.0", "http", kSpecific,
               "GET //host/a HTTP/1.0"},
        WebRow{"scheme_anywhere_cuts_the_first_eight", "GET 12345678host/?https:// HTTP/1.0", "host",
               kSpecific, "GET /?https:// HTTP/1.0"}),
    NameOf);

TEST(WebRouting, A_text_without_a_blank_or_without_a_protocol_field_keeps_an_empty_host) {
  for (const char* text : {"", "GET", "http/", "GEThttp://host/HTTP/1.0", " ", "GET http://host/ ",
                           "GET http://host/", "http/1.0 and no more", "\r\n\r\n"}) {
    const Outcome outcome = Web(text, SpecificPort());
    EXPECT_EQ(outcome.failure, 0) << text;
    EXPECT_EQ(outcome.host, QString()) << text;
    EXPECT_EQ(outcome.port, kSpecific) << text;
    EXPECT_EQ(outcome.data, text);
  }
}

TEST(WebRouting, A_request_line_cut_anywhere_before_its_protocol_field_is_not_rewritten) {
  const QByteArray request = "GET http://host:8080/a HTTP/1.1\r\n\r\n";
  const qsizetype whole = request.indexOf("HTTP/1.1") + 5;
  for (qsizetype length = 0; length <= request.size(); ++length) {
    const Outcome outcome = Web(request.left(length), SpecificPort());
    const bool complete = length >= whole;
    EXPECT_EQ(outcome.host, complete ? QStringLiteral("host") : QString()) << length;
    EXPECT_EQ(outcome.port, complete ? 8080 : kSpecific) << length;
    EXPECT_EQ(outcome.data,
              complete ? "GET /a " + request.mid(whole - 5, length - whole + 5) : request.left(length));
  }
}

TEST(WebRouting, Without_keys_the_ports_are_80) {
  EXPECT_EQ(Web("GET http://host/ HTTP/1.0").port, 80);
  Keys proxy;
  proxy.values[QStringLiteral("ConnectToProxy")] = QStringLiteral("True");
  const Outcome outcome = Web("x", proxy);
  EXPECT_EQ(outcome.port, 80);
  EXPECT_EQ(outcome.host, kProxyPlaceholder);
}

TEST(WebRouting, With_another_proxy_the_text_is_not_looked_at) {
  Keys keys;
  keys.values = {{QStringLiteral("ConnectToProxy"), QStringLiteral("True")},
                 {QStringLiteral("Proxy"), QStringLiteral("next.proxy")},
                 {QStringLiteral("Port"), QStringLiteral("3128")},
                 {QStringLiteral("SpecificPort"), QStringLiteral("no number")}};
  for (const char* text :
       {"GET http://host:99/a HTTP/1.0\r\n\r\n", "GET /a HTTP/1.0\r\n\r\n", "no request"}) {
    const Outcome outcome = Web(text, keys);
    EXPECT_EQ(outcome.failure, 0);
    EXPECT_EQ(outcome.host, QStringLiteral("next.proxy"));
    EXPECT_EQ(outcome.port, 3128);
    EXPECT_EQ(outcome.data, text);
  }
}

TEST(WebRouting, Keys_are_asked_only_when_they_are_needed) {
  Keys keys;
  // Not read by the handler: the other key alone decides.
  keys.values[QStringLiteral("ConnectToPort")] = QStringLiteral("False");
  Web("GET http://host:99/ HTTP/1.0", keys);
  EXPECT_EQ(keys.asked, QStringList{QStringLiteral("ConnectToProxy")});
  keys.asked.clear();
  Web("GET http://host/ HTTP/1.0", keys);
  EXPECT_EQ(keys.asked, (QStringList{QStringLiteral("ConnectToProxy"), QStringLiteral("SpecificPort")}));
}

TEST(WebRouting, A_failure_leaves_what_was_reached) {
  Keys keys;
  keys.values[QStringLiteral("SpecificPort")] = QStringLiteral("abc");
  Outcome outcome = Web("GET http://host/a HTTP/1.0", keys);
  EXPECT_EQ(outcome.failure, 13);
  EXPECT_EQ(outcome.host, QStringLiteral("host"));
  EXPECT_EQ(outcome.port, 0);
  EXPECT_EQ(outcome.data, "GET /a HTTP/1.0");

  outcome = Web("GET http://host:99999999999/a HTTP/1.0");
  EXPECT_EQ(outcome.failure, 6);
  EXPECT_EQ(outcome.host, QStringLiteral("host"));
  EXPECT_EQ(outcome.port, 0);

  keys.values = {{QStringLiteral("ConnectToProxy"), QStringLiteral("True")},
                 {QStringLiteral("Proxy"), QStringLiteral("next.proxy")},
                 {QStringLiteral("Port"), QStringLiteral("abc")}};
  outcome = Web("GET http://host/a HTTP/1.0", keys);
  EXPECT_EQ(outcome.failure, 13);
  EXPECT_EQ(outcome.host, QStringLiteral("next.proxy"));
  EXPECT_EQ(outcome.data, "GET http://host/a HTTP/1.0");

  keys.values = {{QStringLiteral("ConnectToProxy"), QStringLiteral("maybe")}};
  outcome = Web("GET http://host/a HTTP/1.0", keys);
  EXPECT_EQ(outcome.failure, 13);
  EXPECT_EQ(outcome.host, QString());
}

// POP3.

struct Pop3Row {
  const char* text;
  bool found;
  const char* host;
  const char* sent;
};

TEST(Pop3Routing, The_server_stands_behind_the_one_sign) {
  const Pop3Row rows[] = {
      {"USER Fred#Server\r\n", true, "Server", "USER Fred\r\n"},
      {"USER Fred\r\n", false, "", "USER Fred\r\n"},
      {"USER a#b#c\r\n", false, "", "USER a#b#c\r\n"},
      {"CAPA\r\n", false, "", "CAPA\r\n"},
      {"", false, "", ""},
      {"#", true, "", "\r\n"},
      {"USER Fred#Server", true, "Server", "USER Fred\r\n"},
      {"USER Fred#Ser\r\nver\r\n", true, "Server", "USER Fred\r\n"},
      // Only the pair goes.
      {"USER Fred#Server\n", true, "Server\n", "USER Fred\r\n"},
      {"USER Fred#Server\r\nPASS x\r\n", true, "ServerPASS x", "USER Fred\r\n"},
  };
  for (const Pop3Row& row : rows) {
    bool found = false;
    const Outcome outcome = Routed(row.text, [&](Payload& data, QString& host, qint32& port) {
      found = RoutePop3Login(Keys().Reader(), data, host, port);
    });
    EXPECT_EQ(outcome.failure, 0) << row.text;
    EXPECT_EQ(found, row.found) << row.text;
    EXPECT_EQ(outcome.host, QLatin1String(row.host)) << row.text;
    EXPECT_EQ(outcome.port, 110) << row.text;
    EXPECT_EQ(outcome.data, row.sent) << row.text;
  }
}

TEST(Pop3Routing, The_port_is_the_key_and_never_the_clients) {
  Keys keys;
  keys.values[QStringLiteral("Port")] = QStringLiteral("1110");
  const auto route = [&](Payload& data, QString& host, qint32& port) {
    RoutePop3Login(keys.Reader(), data, host, port);
  };
  Outcome outcome = Routed("USER Fred#Server:99\r\n", route);
  EXPECT_EQ(outcome.port, 1110);
  EXPECT_EQ(outcome.host, QStringLiteral("Server:99"));
  keys.values[QStringLiteral("Port")] = QStringLiteral("abc");
  outcome = Routed("USER Fred#Server\r\n", route);
  EXPECT_EQ(outcome.failure, 13);
  EXPECT_EQ(outcome.host, QString());
  EXPECT_EQ(outcome.port, 0);
  EXPECT_EQ(outcome.data, "USER Fred#Server\r\n");
}

// FTP.

struct FtpRow {
  const char* text;
  qint32 failure;
  const char* host;
  qint32 port;
  const char* sent;
};

TEST(FtpRouting, The_server_stands_behind_the_last_sign) {
  const FtpRow rows[] = {
      {"USER UserId@FTPSite\r\n", 0, "FTPSite", 21, "USER UserId\r\n"},
      {"USER UserId@FTPSite:2121\r\n", 0, "FTPSite", 2121, "USER UserId\r\n"},
      {"USER a@b@FTPSite\r\n", 0, "FTPSite", 21, "USER a@b\r\n"},
      {"USER UserId@FTP\r\nSite\r\n\r\n", 0, "FTPSite", 21, "USER UserId\r\n"},
      {"USER UserId@FTPSite:2121:9:x\r\n", 0, "FTPSite", 2121, "USER UserId\r\n"},
      {"USER UserId@FTPSite:21.5\r\n", 0, "FTPSite", 22, "USER UserId\r\n"},
      {"USER UserId@FTPSite:20.5\r\n", 0, "FTPSite", 20, "USER UserId\r\n"},
      {"@FTPSite\r\n", 0, "FTPSite", 21, "\r\n"},
      {"USER UserId@", 0, "", 21, "USER UserId\r\n"},
      {"USER UserId@FTPSite", 0, "FTPSite", 21, "USER UserId\r\n"},
      {"USER UserId@FTPSite:abc\r\n", 13, "FTPSite", 0, "USER UserId@FTPSite:abc\r\n"},
      {"USER UserId@FTPSite:\r\n", 13, "FTPSite", 0, "USER UserId@FTPSite:\r\n"},
      {"USER UserId@FTPSite:99999999999\r\n", 6, "FTPSite", 0, "USER UserId@FTPSite:99999999999\r\n"},
      {"USER UserId\r\n", 5, "USER UserId", 21, ""},
      {"USER UserId:2121\r\n", 5, "USER UserId", 2121, ""},
      {"", 5, "", 21, ""},
  };
  for (const FtpRow& row : rows) {
    const Outcome outcome = Routed(row.text, RouteFtpLogin);
    EXPECT_EQ(outcome.failure, row.failure) << row.text;
    EXPECT_EQ(outcome.host, QLatin1String(row.host)) << row.text;
    EXPECT_EQ(outcome.port, row.port) << row.text;
    EXPECT_EQ(outcome.data, row.sent) << row.text;
  }
}

struct AddressRow {
  const char* text;
  qint32 failure;
  const char* host;
  qint32 port;
};

template <class Read>
void ExpectAddress(const AddressRow& row, Read read) {
  try {
    const DataAddress address = read(row.text);
    EXPECT_EQ(row.failure, 0) << row.text;
    EXPECT_EQ(address.host, QLatin1String(row.host)) << row.text;
    EXPECT_EQ(address.port, row.port) << row.text;
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Number(), row.failure) << row.text;
  }
}

TEST(FtpAddresses, The_port_command_names_host_and_port) {
  const AddressRow rows[] = {
      {"PORT 1,2,3,4,5,6\r\n", 0, "1.2.3.4", 1286},
      {"port 1,2,3,4,5,6", 0, "1.2.3.4", 1286},
      {"PORT 127,0,0,1,255,255\r\n", 0, "127.0.0.1", 65535},
      {"PORT 1,2,3,4,0,0\r\n", 0, "1.2.3.4", 0},
      {"PORT 1,2,3,4,5,6,7\r\n", 0, "1.2.3.4", 1286},
      {"PORT 1,2,3,4,5,6\r\nNOOP\r\n", 0, "1.2.3.4", 1286},
      {"PORT 1,2,3,4,5,6\r\nPORT 1,2,3,4,5,7\r\n", 0, "1.2.3.4", 1286},
      {"PORT 1,2,3,4,5,\r\n6", 13, "", 0},
      // Halves go to the even number.
      {"PORT 1,2,3,4,0,2.5\r\n", 0, "1.2.3.4", 2},
      {"PORT 1,2,3,4,0.5,3.5\r\n", 0, "1.2.3.4", 132},
      {"PORT 1,2,3,4,5\r\n", 9, "", 0},
      {"PORT \r\n", 9, "", 0},
      {"PORT 1,2,3,4,x,6\r\n", 13, "", 0},
      {"PORT 1,2,3,4,5,\r\n", 13, "", 0},
      {"PORT 1,2,3,4,99999999999,6\r\n", 6, "", 0},
  };
  for (const AddressRow& row : rows)
    ExpectAddress(row, ReadPortCommand);
}

TEST(FtpAddresses, The_227_reply_names_them_between_its_first_parentheses) {
  const AddressRow rows[] = {
      {"227 Entering Passive Mode (1,2,3,4,5,6)\r\n", 0, "1.2.3.4", 1286},
      {"227 Entering Passive Mode (1,2,3,4,5,6). (7)\r\n226 more\r\n", 0, "1.2.3.4", 1286},
      {"227 Entering Passive Mode ( 1,2,3,4,5,6)\r\n", 0, "1.2.3.4", 1286},
      {"227 Entering Passive Mode (1,2,3,4,5)\r\n", 9, "", 0},
      {"227 Entering Passive Mode ()\r\n", 9, "", 0},
      {"227 Entering Passive Mode 1,2,3,4,5,6\r\n", 5, "", 0},
      {"227 Entering Passive Mode (1,2,3,4,5,6\r\n", 5, "", 0},
      {"227 Entering Passive Mode )1,2,3,4,5,6(\r\n", 5, "", 0},
      {"227 Entering Passive Mode (1,2,3,4,x,6)\r\n", 13, "", 0},
  };
  for (const AddressRow& row : rows)
    ExpectAddress(row, ReadPasvReply);
}

TEST(FtpAddresses, Both_lines_are_written_with_the_port_in_two_bytes) {
  EXPECT_EQ(WritePortCommand({QStringLiteral("10.0.0.1"), 1286}), "PORT 10,0,0,1,5,6\r\n");
  EXPECT_EQ(WritePasvReply({QStringLiteral("10.0.0.1"), 5000}),
            "227 Entering Passive Mode (10,0,0,1,19,136)\r\n");
  EXPECT_EQ(WritePortCommand({QStringLiteral("127.0.0.1"), 1024}), "PORT 127,0,0,1,4,0\r\n");
}

TEST(FtpAddresses, What_is_written_is_read_back) {
  for (qint32 port = 1024; port <= 5000; ++port) {
    const DataAddress address{QStringLiteral("192.0.2.7"), port};
    EXPECT_EQ(ReadPortCommand(WritePortCommand(address)).port, port);
    EXPECT_EQ(ReadPasvReply(WritePasvReply(address)).port, port);
    EXPECT_EQ(ReadPasvReply(WritePasvReply(address)).host, address.host);
  }
}

TEST(FtpAddresses, Every_port_from_1024_to_5000_is_drawn_and_the_ends_half_as_often) {
  constexpr int kPerPort = 16;
  constexpr int kDraws = 3976 * kPerPort;
  QHash<qint32, int> counts;
  for (int i = 0; i < kDraws; ++i) {
    // In the middle of each step, so that no draw stands on the border of two ports.
    ++counts[DataPort((static_cast<float>(i) + 0.5F) / static_cast<float>(kDraws))];
  }
  EXPECT_EQ(counts.size(), 5000 - 1024 + 1);
  EXPECT_EQ(counts.value(1024), kPerPort / 2);
  EXPECT_EQ(counts.value(5000), kPerPort / 2);
  for (qint32 port = 1025; port < 5000; ++port)
    ASSERT_EQ(counts.value(port), kPerPort) << port;
  EXPECT_EQ(DataPort(0), 1024);
  EXPECT_EQ(DataPort(std::nextafter(1.0F, 0.0F)), 5000);
}

}  // namespace
}  // namespace veltrane
