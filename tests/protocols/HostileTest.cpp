// Whole conversations of each handler between a client and a server that misbehave: chunks cut anywhere,
// bytes one at a time, peers that close or reset at any step, peers that stop reading.
#include <gtest/gtest.h>

#include "tests/support/FakeNet.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

/// Who says what; %P is the server's port. What arrives on either side for it, or nothing.
struct Step {
  bool byClient;
  QByteArray text;
  QByteArray atClient;
  QByteArray atServer;
};

struct Conversation {
  const char* protocol;
  /// What the proxy says by itself.
  QByteArray greeting;
  /// The first step is the one that routes.
  QList<Step> steps;
  /// After this many steps the conversation is a plain relay.
  int relayed;
  /// Whether a cut first chunk is whole again at the server.
  bool restJoinsRouted;
  /// What a name that cannot be found shows.
  QByteArray noSite;
  /// What the routing chunk must hold for the destination to be known: from this cut on, a server is there.
  QByteArray routesFrom;
};

constexpr bool kClient = true;
constexpr bool kServer = false;
const QByteArray kNoSite = "no such site\r\n";

const Conversation kConversations[] = {
    {"HTTP",
     "",
     {{kClient, "GET http://127.0.0.1:%P/a HTTP/1.0\r\nHost: x\r\n\r\n", "",
       "GET /a HTTP/1.0\r\nHost: x\r\n\r\n"},
      {kServer, "HTTP/1.0 200 OK\r\n\r\nbody", "HTTP/1.0 200 OK\r\n\r\nbody", ""},
      {kClient, "more", "", "more"}},
     1,
     true,
     kNoSite,
     "GET http://127.0.0.1:%P/a HTTP/"},
    {"HTTPS",
     "",
     {{kClient, "CONNECT 127.0.0.1:%P HTTP/1.1\r\n\r\n",
       "HTTP/1.0 200 Connection established\r\nProxy-agent: Netscape -Proxy / 1.1 \r\n\r\n", ""},
      {kClient, "hello", "", "hello"},
      {kServer, "certificate", "certificate", ""}},
     1,
     false,
     kNoSite,
     "CONNECT 127.0.0.1:%P HTTP/"},
    {"POP3",
     "+OK\r\n",
     {{kClient, "USER Fred#127.0.0.1\r\n", "", ""},
      {kServer, "+OK real\r\n", "", "USER Fred\r\n"},
      {kServer, "+OK send pass\r\n", "+OK send pass\r\n", ""},
      {kClient, "PASS x\r\n", "", "PASS x\r\n"},
      {kServer, "+OK in\r\n", "+OK in\r\n", ""}},
     2,
     false,
     kNoSite,
     "USER Fred#127.0.0.1"},
    {"FTP",
     "220 Veltrane FTP Server\r\n",
     {{kClient, "USER a@b@127.0.0.1:%P\r\n", "", ""},
      {kServer, "220 real\r\n", "", "USER a@b\r\n"},
      {kServer, "331 pass\r\n", "331 pass\r\n", ""},
      {kClient, "PASS x\r\n", "", "PASS x\r\n"},
      {kServer, "230 in\r\n", "230 in\r\n", ""},
      {kClient, "PASV\r\n", "", "PASV\r\n"},
      // The ports of the run's chance.
      {kServer, "227 Entering Passive Mode (127,0,0,1,1,2)\r\n",
       "227 Entering Passive Mode (127,0,0,1,11,196)\r\n", ""},
      {kClient, "PORT 127,0,0,1,1,2\r\n", "", "PORT 127,0,0,1,15,166\r\n"}},
     2,
     false,
     "",
     "USER a@b@127.0.0.1:%P"},
};

struct HostileTest : testing::TestWithParam<Conversation> {
  static constexpr qint32 kPort = 2000;

  struct Run {
    explicit Run(const Conversation& conversation, qsizetype capacity = 64 * 1024)
        : talk(conversation), net(capacity), world(&net) {
      const QString name = QLatin1String(talk.protocol);
      // For two data ports, 3012 and 4006: a second draw of the first's number would be a collision.
      world.mRandom.mNumbers = {0.5F, 0.75F};
      world.AddPort(kPort, name, QStringLiteral("Test"));
      world.AddNode(kPort, QStringLiteral("Test"));
      world.Save(QStringLiteral("Protocols\\") + name, QStringLiteral("NoSiteError"), QLatin1String(kNoSite));
      destination = net.Listen();
      world.Save(PortSection(name, kPort), QStringLiteral("Port"), QString::number(destination->Port()));
      world.StartListening();
      client = net.ConnectTo(kPort);
      net.Settle();
    }
    QByteArray Text(QByteArray text) const {
      return text.replace("%P", QByteArray::number(destination->Port()));
    }
    Peer* Speaker(const Step& step) const { return step.byClient ? client.get() : server.get(); }
    void TakeServer() {
      if (!server) server = destination->Accept();
    }
    void Do(const Step& step) {
      Speaker(step)->Send(Text(step.text));
      net.Settle();
      TakeServer();
      net.Settle();
    }
    void DoFirst(int count) {
      for (int i = 0; i < count; ++i)
        Do(talk.steps[i]);
    }
    /// What both have got when that many steps are done.
    QByteArray Expected(int count, QByteArray Step::*side, QByteArray sum) const {
      for (int i = 0; i < count; ++i)
        sum += talk.steps[i].*side;
      return sum;
    }
    void ExpectStep(int count) const {
      EXPECT_EQ(client->Received(), Expected(count, &Step::atClient, talk.greeting))
          << talk.protocol << count;
      if (server) {
        EXPECT_EQ(server->Received(), Expected(count, &Step::atServer, {})) << talk.protocol << count;
      }
    }
    /// Only listening sockets are open, and nothing was reported.
    void ExpectQuiet() {
      EXPECT_EQ(net.OpenCount(), world.mGeneral.gobjListening->mcolListeningSocket.Count());
      EXPECT_EQ(world.mErrors.mTexts, QStringList());
    }

    const Conversation& talk;
    FakeNet net;
    World world;
    std::unique_ptr<PeerListener> destination;
    std::unique_ptr<Peer> client;
    std::unique_ptr<Peer> server;
  };
};

void PrintTo(const Conversation& conversation, std::ostream* out) {
  *out << conversation.protocol;
}

INSTANTIATE_TEST_SUITE_P(All, HostileTest, testing::ValuesIn(kConversations),
                         [](const auto& which) { return std::string(which.param.protocol); });

TEST_P(HostileTest, The_conversation_runs) {
  Run run(GetParam());
  for (int i = 0; i < run.talk.steps.size(); ++i) {
    run.Do(run.talk.steps[i]);
    run.ExpectStep(i + 1);
  }
  run.client->Close();
  run.net.Settle();
  EXPECT_TRUE(run.server->SawEnd());
  run.ExpectQuiet();
}

TEST_P(HostileTest, The_first_chunk_cut_at_every_position) {
  const Conversation& talk = GetParam();
  const qsizetype length = Run(talk).Text(talk.steps[0].text).size();
  for (qsizetype cut = 1; cut < length; ++cut) {
    Run run(talk);
    const QByteArray text = run.Text(talk.steps[0].text);
    run.client->Send(text.left(cut));
    run.net.Settle();
    run.TakeServer();
    // A CR without its LF belongs to the name of the mail server.
    const bool spoilsName = talk.protocol == QLatin1String("POP3") && text[cut - 1] == '\r';
    ASSERT_EQ(run.server != nullptr, cut >= run.Text(talk.routesFrom).size() && !spoilsName) << cut;
    if (run.server) {
      run.client->Send(text.mid(cut));
      run.net.Settle();
      if (talk.relayed > 1) {
        run.server->Send(talk.steps[1].text);
        run.net.Settle();
      }
      // Where the rest is no part of the routed text, it follows it, as what comes next does.
      EXPECT_EQ(run.server->Received(), run.Expected(talk.relayed, &Step::atServer, {}) +
                                            (talk.restJoinsRouted ? QByteArray() : text.mid(cut)))
          << cut;
      run.client->Close();
      run.net.Settle();
      run.server->Close();
      run.net.Settle();
    } else {
      // A name that does not exist says so; a port on which nobody listens says nothing.
      EXPECT_TRUE(QByteArray(talk.greeting + talk.noSite).startsWith(run.client->Received())) << cut;
      EXPECT_TRUE(run.client->SawEnd()) << talk.protocol << cut;
      EXPECT_TRUE(run.client->Received() == talk.greeting + talk.noSite ||
                  run.client->Received() == talk.greeting)
          << cut;
    }
    EXPECT_EQ(run.net.OpenCount(), 1) << talk.protocol << cut;
  }
}

TEST_P(HostileTest, Bytes_one_at_a_time_from_the_first_lead_nowhere) {
  Run run(GetParam());
  for (const char byte : run.Text(run.talk.steps[0].text)) {
    run.client->Send(QByteArray(1, byte));
    run.net.Settle();
  }
  EXPECT_FALSE(run.destination->Accept());
  EXPECT_EQ(run.client->Received(), run.talk.greeting + run.talk.noSite);
  EXPECT_TRUE(run.client->SawEnd());
  EXPECT_EQ(run.net.OpenCount(), 1);
}

TEST_P(HostileTest, Bytes_one_at_a_time_behind_the_login_arrive_unchanged) {
  Run run(GetParam());
  run.DoFirst(run.talk.relayed);
  const QByteArray fromServer = run.client->Received();
  const QByteArray fromClient = run.server->Received();
  QByteArray all;
  for (int value = 0; value < 256; ++value) {
    all.append(static_cast<char>(value));
    run.client->Send(all.right(1));
    run.server->Send(all.right(1));
    run.net.Settle();
  }
  EXPECT_EQ(run.client->Received(), fromServer + all);
  EXPECT_EQ(run.server->Received(), fromClient + all);
  run.server->Close();
  run.net.Settle();
  EXPECT_TRUE(run.client->SawEnd());
  run.ExpectQuiet();
}

TEST_P(HostileTest, A_transport_that_carries_one_byte_at_a_time_takes_what_was_routed_whole) {
  // Only the way to the peers is narrow: it narrows after the login.
  Run run(GetParam());
  run.DoFirst(run.talk.relayed);
  const QByteArray before = run.server->Received();
  run.net.SetCapacity(1);
  const QByteArray bulk = QByteArray(3000, 'a') + QByteArray(3000, 'b');
  run.client->Send(bulk);
  run.net.Settle();
  EXPECT_EQ(run.server->Received(), before + bulk);
}

using Ending = void (Peer::*)();

struct EndingRow {
  const char* name;
  Ending end;
};

TEST_P(HostileTest, Either_peer_ends_at_every_step) {
  const EndingRow endings[] = {{"close", &Peer::Close}, {"half", &Peer::HalfClose}, {"reset", &Peer::Reset}};
  for (const EndingRow& ending : endings) {
    for (int step = 0; step <= GetParam().steps.size(); ++step) {
      for (const bool byClient : {kClient, kServer}) {
        if (!byClient && step == 0) continue;
        SCOPED_TRACE(testing::Message()
                     << ending.name << " by " << (byClient ? "client" : "server") << " at " << step);
        Run run(GetParam());
        run.DoFirst(step);
        Peer& leaver = byClient ? *run.client : *run.server;
        Peer* other = byClient ? run.server.get() : run.client.get();
        (leaver.*ending.end)();
        run.net.Settle();
        run.ExpectStep(step);
        if (other) {
          EXPECT_TRUE(other->SawEnd());
        }
        run.ExpectQuiet();
      }
    }
  }
}

TEST_P(HostileTest, Either_peer_ends_right_behind_its_words_in_any_order_of_events) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    for (int step = 1; step <= GetParam().steps.size(); ++step) {
      for (const EndingRow& ending : {EndingRow{"close", &Peer::Close}, EndingRow{"reset", &Peer::Reset}}) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << " step " << step << ' ' << ending.name);
        Run run(GetParam());
        run.net.Shuffle(seed);
        run.DoFirst(step - 1);
        const Step& last = run.talk.steps[step - 1];
        Peer& speaker = *run.Speaker(last);
        speaker.Send(run.Text(last.text));
        (speaker.*ending.end)();
        run.net.Settle();
        run.TakeServer();
        run.net.Settle();
        const Peer* other = last.byClient ? run.server.get() : run.client.get();
        if (other) {
          EXPECT_TRUE(other->SawEnd());
        }
        run.ExpectQuiet();
      }
    }
  }
}

TEST_P(HostileTest, A_send_that_never_completes_holds_all_and_ends_with_its_reader) {
  for (const bool clientStops : {kClient, kServer}) {
    for (const Ending end : {&Peer::Close, &Peer::Reset}) {
      Run run(GetParam());
      run.DoFirst(run.talk.relayed);
      Peer& reader = clientStops ? *run.client : *run.server;
      Peer& writer = clientStops ? *run.server : *run.client;
      const QByteArray before = reader.Received();
      reader.StopReading();
      const QByteArray bulk(1'000'000, 'z');
      writer.Send(bulk);
      run.net.Settle();
      writer.HalfClose();
      run.net.Settle();
      EXPECT_EQ(reader.Received(), before);
      // The side that still has to deliver stays open.
      EXPECT_EQ(run.net.OpenCount(), 2);
      (reader.*end)();
      run.net.Settle();
      run.ExpectQuiet();
    }
  }
}

TEST_P(HostileTest, A_reader_that_wakes_up_gets_all_that_was_held_after_its_peer_has_left) {
  Run run(GetParam());
  run.DoFirst(run.talk.relayed);
  const QByteArray before = run.client->Received();
  run.client->StopReading();
  const QByteArray bulk(1'000'000, 'z');
  run.server->Send(bulk);
  run.net.Settle();
  run.server->Close();
  run.net.Settle();
  run.client->ResumeReading();
  run.net.Settle();
  EXPECT_EQ(run.client->Received(), before + bulk);
  EXPECT_TRUE(run.client->SawEnd());
  run.ExpectQuiet();
}

}  // namespace
}  // namespace veltrane
