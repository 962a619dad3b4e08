// The four decisions, by the controls that they read.
#include <gtest/gtest.h>

#include "base/Failure.h"
#include "tests/support/FailureWorld.h"

namespace veltrane {
namespace {

struct DecisionsTest : testing::Test {
  DecisionsTest() { form.Load(); }

  /// What a connection that has just come up is told, in the order in which it asks.
  struct Plan {
    bool terminate = false;
    qint32 terminatePeriod = 0;
    bool dangle = false;
    qint32 timeBeforeDangle = -1;
    qint32 danglePeriod = -1;
    qint16 direction = -1;
    QString text;
  };
  Plan Connect() {
    Plan plan;
    plan.terminate = form.ShouldConnectionBeTerminated(plan.terminatePeriod, {});
    plan.dangle =
        form.ShouldConnectionBeDangled(plan.timeBeforeDangle, plan.danglePeriod, plan.direction, plan.text);
    return plan;
  }
  /// The numbers, from 1, of those of the next count connections that are terminated, and dangled.
  std::pair<QList<int>, QList<int>> Connect(int count) {
    std::pair<QList<int>, QList<int>> hits;
    for (int i = 1; i <= count; ++i) {
      const Plan plan = Connect();
      if (plan.terminate) hits.first.append(i);
      if (plan.dangle) hits.second.append(i);
    }
    return hits;
  }
  QList<int> Refused(int count) {
    QList<int> hits;
    for (int i = 1; i <= count; ++i) {
      if (form.ShouldConnectionRequestBeRefused()) hits.append(i);
    }
    return hits;
  }
  template <class Body>
  static qint32 FailureOf(Body body) {
    try {
      body();
    } catch (const Failure& failure) {
      return failure.Number();
    }
    return 0;
  }

  FailureWorld world;
  frmProblemSimulation& form = world.mForm;
};

// Refusal.

TEST_F(DecisionsTest, With_every_5th_and_all_else_off_requests_5_10_and_15_are_refused) {
  form.chkRefuseConnections.SetValue(1);
  EXPECT_EQ(Refused(19), (QList<int>{5, 10, 15}));
  EXPECT_EQ(form.mintConnectionRequestCount, 19) << "refused ones count too";
  const Plan plan = Connect();
  EXPECT_FALSE(plan.terminate);
  EXPECT_FALSE(plan.dangle);
}

TEST_F(DecisionsTest, Requests_are_counted_while_refusing_is_off) {
  EXPECT_TRUE(Refused(3).isEmpty());
  form.chkRefuseConnections.SetValue(1);
  EXPECT_EQ(Refused(4), QList<int>{2});
  EXPECT_EQ(world.mRandom.mDraws, 0);
}

TEST_F(DecisionsTest, Requests_and_connections_are_counted_apart) {
  Refused(3);
  Connect(2);
  EXPECT_EQ(form.mintConnectionRequestCount, 3);
  EXPECT_EQ(form.mintConnectionCount, 2);
}

TEST_F(DecisionsTest, An_Nth_field_of_0_or_below_means_every_connection) {
  form.chkRefuseConnections.SetValue(1);
  for (const QString& nth : {QStringLiteral("0"), QStringLiteral("-7")}) {
    form.txtRefuseNthConnection.SetText(nth);
    EXPECT_EQ(Refused(3), (QList<int>{1, 2, 3}));
  }
}

TEST_F(DecisionsTest, A_non_numeric_Nth_field_means_none_while_the_count_goes_on) {
  form.chkRefuseConnections.SetValue(1);
  form.txtRefuseNthConnection.SetText(QStringLiteral("often"));
  EXPECT_TRUE(Refused(4).isEmpty());
  form.txtRefuseNthConnection.SetText(QStringLiteral("5"));
  EXPECT_EQ(Refused(6), (QList<int>{1, 6}));
}

TEST_F(DecisionsTest, Two_and_a_half_means_2_and_three_and_a_half_means_4) {
  form.chkRefuseConnections.SetValue(1);
  form.txtRefuseNthConnection.SetText(QStringLiteral("2.5"));
  EXPECT_EQ(Refused(4), (QList<int>{2, 4}));
  form.txtRefuseNthConnection.SetText(QStringLiteral("3.5"));
  EXPECT_EQ(Refused(8), (QList<int>{4, 8}));
}

TEST_F(DecisionsTest, An_Nth_field_above_32767_fails_and_the_request_is_counted) {
  form.chkRefuseConnections.SetValue(1);
  form.txtRefuseNthConnection.SetText(QStringLiteral("32768"));
  EXPECT_EQ(FailureOf([&] { form.ShouldConnectionRequestBeRefused(); }), 6);
  EXPECT_EQ(form.mintConnectionRequestCount, 1);
  form.chkRefuseConnections.SetValue(0);
  EXPECT_FALSE(form.ShouldConnectionRequestBeRefused()) << "a field that is not asked does no harm";
}

TEST_F(DecisionsTest, A_percentage_refuses_by_one_draw_a_request) {
  form.chkRefuseConnections.SetValue(1);
  form.optRefuse.Select(1);
  form.txtRefuseNPercOfConnections.SetText(QStringLiteral("25"));
  world.mRandom.mNumbers = {0.3F, 0.25F, 0.9F, 0.1F};
  EXPECT_EQ(Refused(4), (QList<int>{2, 4}));
  EXPECT_EQ(world.mRandom.mDraws, 4);
}

TEST_F(DecisionsTest, A_hundred_percent_always_hits_and_0_percent_only_on_a_draw_of_exactly_0) {
  form.chkRefuseConnections.SetValue(1);
  form.optRefuse.Select(1);
  for (const QString& percent : {QStringLiteral("100"), QStringLiteral("250")}) {
    form.txtRefuseNPercOfConnections.SetText(percent);
    world.mRandom.mNumbers = {0.0F, 0.99999994F};
    EXPECT_EQ(Refused(2).size(), 2);
  }
  form.txtRefuseNPercOfConnections.SetText(QStringLiteral("0"));
  world.mRandom.mNumbers = {0.00000006F, 0.0F};
  EXPECT_EQ(Refused(2), QList<int>{2});
}

TEST_F(DecisionsTest, With_no_option_set_nothing_hits) {
  form.chkRefuseConnections.SetValue(1);
  form.optRefuse.SetValue(0, false);
  EXPECT_TRUE(Refused(10).isEmpty());
}

// Termination and dangling.

TEST_F(DecisionsTest, Terminate_every_2nd_and_dangle_every_2nd_hit_the_same_connections) {
  form.chkTerminateConnections.SetValue(1);
  form.chkDangleConnections.SetValue(1);
  form.txtTerminateNthConnection.SetText(QStringLiteral("2"));
  form.txtDangleNthConnection.SetText(QStringLiteral("2"));
  const auto [terminated, dangled] = Connect(6);
  EXPECT_EQ(terminated, (QList<int>{2, 4, 6}));
  EXPECT_EQ(dangled, terminated);
}

TEST_F(DecisionsTest, Terminate_every_2nd_and_dangle_every_3rd_meet_at_every_6th) {
  form.chkTerminateConnections.SetValue(1);
  form.chkDangleConnections.SetValue(1);
  form.txtTerminateNthConnection.SetText(QStringLiteral("2"));
  form.txtDangleNthConnection.SetText(QStringLiteral("3"));
  const auto [terminated, dangled] = Connect(12);
  EXPECT_EQ(terminated, (QList<int>{2, 4, 6, 8, 10, 12}));
  EXPECT_EQ(dangled, (QList<int>{3, 6, 9, 12}));
}

TEST_F(DecisionsTest, With_terminate_off_the_counter_advances_and_the_dangle_numbering_works) {
  form.chkDangleConnections.SetValue(1);
  const auto [terminated, dangled] = Connect(11);
  EXPECT_TRUE(terminated.isEmpty());
  EXPECT_EQ(dangled, (QList<int>{5, 10}));
  EXPECT_EQ(form.mintConnectionCount, 11);
}

TEST_F(DecisionsTest, Asking_for_a_dangle_alone_does_not_count) {
  form.mintConnectionCount = 4;
  Plan plan;
  form.ShouldConnectionBeDangled(plan.timeBeforeDangle, plan.danglePeriod, plan.direction, plan.text);
  EXPECT_EQ(form.mintConnectionCount, 4);
}

TEST_F(DecisionsTest, The_counters_wrap_and_the_test_goes_on_with_a_negative_value) {
  form.chkTerminateConnections.SetValue(1);
  form.chkRefuseConnections.SetValue(1);
  form.mintConnectionCount = 32766;
  form.mintConnectionRequestCount = 32766;
  // 32767, -32768, -32767, -32766, -32765: the last is a multiple of 5.
  EXPECT_EQ(Connect(5).first, QList<int>{5});
  EXPECT_EQ(Refused(5), QList<int>{5});
  EXPECT_EQ(form.mintConnectionCount, -32765);
  EXPECT_EQ(form.mintConnectionRequestCount, -32765);
}

TEST_F(DecisionsTest, A_termination_has_its_fixed_delay) {
  form.chkTerminateConnections.SetValue(1);
  form.txtTerminateNthConnection.SetText(QStringLiteral("1"));
  form.txtTerminateTime.SetText(QStringLiteral("300.5"));
  const Plan plan = Connect();
  EXPECT_TRUE(plan.terminate);
  EXPECT_EQ(plan.terminatePeriod, 300);
}

TEST_F(DecisionsTest, A_termination_delay_that_is_not_numeric_keeps_what_the_caller_passed) {
  for (const int option : {0, 1}) {
    form.optCloseTime.Select(option);
    form.txtTerminateTime.SetText(QStringLiteral("soon"));
    form.txtTerminateTimeFrom.SetText(QStringLiteral("1"));
    form.txtTerminateTimeTo.SetText(QString());
    qint32 period = 77;
    form.ShouldConnectionBeTerminated(period, {});
    EXPECT_EQ(period, 77);
  }
  EXPECT_EQ(world.mRandom.mDraws, 0) << "the range is not drawn from when one end is missing";
}

TEST_F(DecisionsTest, With_no_option_of_a_delay_set_its_value_is_kept_and_nothing_is_drawn) {
  for (OptionGroup* group : {&form.optCloseTime, &form.optDangleStartTime, &form.optDangleStopTime})
    group->SetValue(group->Selected(), false);
  qint32 period = 77;
  form.ShouldConnectionBeTerminated(period, {});
  EXPECT_EQ(period, 77);
  const Plan plan = Connect();
  EXPECT_EQ(plan.timeBeforeDangle, 0);
  EXPECT_EQ(plan.danglePeriod, 0);
  EXPECT_EQ(world.mRandom.mDraws, 0);
}

TEST_F(DecisionsTest, A_delay_beyond_32_bits_fails) {
  form.txtTerminateTime.SetText(QStringLiteral("3000000000"));
  qint32 period = 0;
  EXPECT_EQ(FailureOf([&] { form.ShouldConnectionBeTerminated(period, {}); }), 6);
  EXPECT_EQ(form.mintConnectionCount, 1);
}

TEST_F(DecisionsTest, The_plan_of_a_termination_stays_with_the_decision) {
  form.chkTerminateConnections.SetValue(1);
  form.txtTerminateNthConnection.SetText(QStringLiteral("1"));
  const QString comment = QStringLiteral("as it was");
  qint32 period = 0;
  EXPECT_TRUE(form.ShouldConnectionBeTerminated(period, comment));
  EXPECT_EQ(comment, QStringLiteral("as it was"));
}

TEST_F(DecisionsTest, The_plan_of_a_dangle_is_told_in_full) {
  form.chkDangleConnections.SetValue(1);
  form.txtDangleNthConnection.SetText(QStringLiteral("1"));
  form.txtDangleStartTime.SetText(QStringLiteral("500"));
  form.txtDangleStopTime.SetText(QStringLiteral("1000"));
  const Plan plan = Connect();
  EXPECT_TRUE(plan.dangle);
  EXPECT_EQ(plan.text,
            QStringLiteral("Connection to be dangled in 500 mSecs and it will dangled for 1000 mSecs"));
}

TEST_F(DecisionsTest, A_connection_without_a_dangle_has_its_times_and_direction_and_no_text) {
  const Plan plan = Connect();
  EXPECT_FALSE(plan.dangle);
  EXPECT_EQ(plan.timeBeforeDangle, 10000);
  EXPECT_EQ(plan.danglePeriod, 10000);
  EXPECT_EQ(plan.direction, 2);
  EXPECT_EQ(plan.text, QString());
}

TEST_F(DecisionsTest, Dangle_times_that_are_not_numeric_are_0) {
  form.chkDangleConnections.SetValue(1);
  form.txtDangleNthConnection.SetText(QStringLiteral("1"));
  form.txtDangleStartTime.SetText(QStringLiteral("later"));
  form.txtDangleStopTime.SetText(QString());
  const Plan plan = Connect();
  EXPECT_EQ(plan.timeBeforeDangle, 0);
  EXPECT_EQ(plan.danglePeriod, 0);
  EXPECT_EQ(plan.text, QStringLiteral("Connection to be dangled in 0 mSecs and it will dangled for 0 mSecs"));
}

TEST_F(DecisionsTest, The_direction_is_the_index_of_the_set_option) {
  for (const int direction : {0, 1, 2}) {
    form.optDangleDirections.Select(direction);
    EXPECT_EQ(Connect().direction, direction);
  }
  form.optDangleDirections.SetValue(2, false);
  EXPECT_EQ(Connect().direction, 0);
}

TEST_F(DecisionsTest, Draws_come_in_their_order_hit_first_then_delays) {
  for (OptionGroup* group : {&form.optClose, &form.optCloseTime, &form.optDangle, &form.optDangleStartTime,
                             &form.optDangleStopTime})
    group->Select(1);
  form.chkTerminateConnections.SetValue(1);
  form.chkDangleConnections.SetValue(1);
  for (TextBox* from :
       {&form.txtTerminateTimeFrom, &form.txtDangleStartTimeFrom, &form.txtDangleStopTimeFrom})
    from->SetText(QStringLiteral("0"));
  for (TextBox* to : {&form.txtTerminateTimeTo, &form.txtDangleStartTimeTo, &form.txtDangleStopTimeTo})
    to->SetText(QStringLiteral("1024"));
  // Hit at 10 percent, 256; miss, 512, 768.
  world.mRandom.mNumbers = {0.0625F, 0.25F, 0.5F, 0.5F, 0.75F};
  const Plan plan = Connect();
  EXPECT_TRUE(plan.terminate);
  EXPECT_EQ(plan.terminatePeriod, 256);
  EXPECT_FALSE(plan.dangle);
  EXPECT_EQ(plan.timeBeforeDangle, 512);
  EXPECT_EQ(plan.danglePeriod, 768);
  EXPECT_EQ(world.mRandom.mDraws, 5);
}

TEST_F(DecisionsTest, With_the_boxes_off_no_hit_is_drawn_but_the_delays_are) {
  for (OptionGroup* group : {&form.optRefuse, &form.optClose, &form.optCloseTime, &form.optDangle,
                             &form.optDangleStartTime, &form.optDangleStopTime})
    group->Select(1);
  world.mRandom.mNumbers = {0.0F, 0.0F, 0.0F};
  Refused(1);
  EXPECT_EQ(world.mRandom.mDraws, 0);
  const Plan plan = Connect();
  EXPECT_EQ(world.mRandom.mDraws, 3);
  EXPECT_EQ(plan.terminatePeriod, 5000);
  EXPECT_EQ(plan.timeBeforeDangle, 5000);
  EXPECT_EQ(plan.danglePeriod, 5000);
}

TEST_F(DecisionsTest, A_range_whose_To_is_below_its_From_gives_values_between_the_two) {
  form.optCloseTime.Select(1);
  form.txtTerminateTimeFrom.SetText(QStringLiteral("300"));
  form.txtTerminateTimeTo.SetText(QStringLiteral("100"));
  world.mRandom.mNumbers = {0.0F, 0.25F, 0.99999994F};
  QList<qint32> periods;
  for (int i = 0; i < 3; ++i)
    periods.append(Connect().terminatePeriod);
  EXPECT_EQ(periods, (QList<qint32>{300, 250, 100}));
}

TEST_F(DecisionsTest, A_change_of_a_control_holds_from_the_next_decision_on) {
  form.chkTerminateConnections.SetValue(1);
  form.txtTerminateNthConnection.SetText(QStringLiteral("1"));
  EXPECT_TRUE(Connect().terminate);
  form.chkTerminateConnections.SetValue(0);
  EXPECT_FALSE(Connect().terminate);
  form.chkTerminateConnections.SetValue(1);
  form.optClose.Select(1);
  form.txtTerminateNPercOfConnections.SetText(QStringLiteral("0"));
  EXPECT_FALSE(Connect().terminate);
}

TEST_F(DecisionsTest, The_choices_at_the_end_are_the_options_as_they_stand) {
  EXPECT_EQ(form.DangleCloseChoice(), 1);
  EXPECT_EQ(form.GracefulTerminationChoice(), 0);
  form.optDangleClose.Select(2);
  form.optGracefulTermination.Select(1);
  EXPECT_EQ(form.DangleCloseChoice(), 2);
  EXPECT_EQ(form.GracefulTerminationChoice(), 1);
  form.optDangleClose.SetValue(2, false);
  form.optGracefulTermination.SetValue(1, false);
  EXPECT_EQ(form.DangleCloseChoice(), -1);
  EXPECT_EQ(form.GracefulTerminationChoice(), -1);
}

// Throttling, told for both directions.

struct ThrottleTest : DecisionsTest, testing::WithParamInterface<bool> {
  bool FromServer() const { return GetParam(); }
  CheckBox& Box() { return FromServer() ? form.chkThrottleS2CData : form.chkThrottleC2SData; }
  CheckBox& OtherBox() { return FromServer() ? form.chkThrottleC2SData : form.chkThrottleS2CData; }
  OptionGroup& Choice() { return FromServer() ? form.optS2CThrottle : form.optC2SThrottle; }
  TextBox& Text(const char* what) {
    const QString name =
        (FromServer() ? QStringLiteral("txtS2C") : QStringLiteral("txtC2S")) + QLatin1String(what);
    return dynamic_cast<TextBox&>(*form.FindControl(name));
  }
  bool Ask(qint64 length) {
    amount = -1;
    period = -1;
    return form.IsThrottlingNeeded(FromServer(), length, amount, period);
  }

  qint64 amount = -1;
  qint32 period = -1;
};

INSTANTIATE_TEST_SUITE_P(Both, ThrottleTest, testing::Bool(),
                         [](const auto& which) { return which.param ? "ServerToClient" : "ClientToServer"; });

TEST_P(ThrottleTest, Off_lets_all_the_data_go) {
  OtherBox().SetValue(1);
  EXPECT_FALSE(Ask(100000));
  EXPECT_EQ(amount, 100000);
  EXPECT_EQ(period, 0);
}

TEST_P(ThrottleTest, Fixed_fields_give_bytes_and_period) {
  Box().SetValue(1);
  EXPECT_TRUE(Ask(1000));
  EXPECT_EQ(amount, 200);
  EXPECT_EQ(period, 100);
  EXPECT_EQ(world.mRandom.mDraws, 0);
}

TEST_P(ThrottleTest, An_allowance_above_the_length_gives_the_length_and_a_period_of_0) {
  Box().SetValue(1);
  EXPECT_TRUE(Ask(199)) << "still a throttled send";
  EXPECT_EQ(amount, 199);
  EXPECT_EQ(period, 0);
  EXPECT_TRUE(Ask(200));
  EXPECT_EQ(amount, 200);
  EXPECT_EQ(period, 100) << "an allowance of exactly the length waits";
}

TEST_P(ThrottleTest, A_range_draws_bytes_first_and_then_the_period_anew_for_each_send) {
  Box().SetValue(1);
  Choice().Select(1);
  Text("BytesTo").SetText(QStringLiteral("1124"));
  Text("PeriodTo").SetText(QStringLiteral("1074"));
  world.mRandom.mNumbers = {0.25F, 0.5F, 0.75F, 0.0F};
  EXPECT_TRUE(Ask(10000));
  EXPECT_EQ(amount, 356);
  EXPECT_EQ(period, 562);
  EXPECT_TRUE(Ask(10000));
  EXPECT_EQ(amount, 868);
  EXPECT_EQ(period, 50);
  EXPECT_EQ(world.mRandom.mDraws, 4);
}

TEST_P(ThrottleTest, A_range_draws_twice_also_when_all_the_data_fits) {
  Box().SetValue(1);
  Choice().Select(1);
  EXPECT_TRUE(Ask(1));
  EXPECT_EQ(amount, 1);
  EXPECT_EQ(period, 0);
  EXPECT_EQ(world.mRandom.mDraws, 2);
}

TEST_P(ThrottleTest, With_no_option_set_both_values_are_kept_and_nothing_is_drawn) {
  Box().SetValue(1);
  Choice().SetValue(0, false);
  ASSERT_EQ(Choice().Selected(), -1);
  EXPECT_TRUE(Ask(1000));
  EXPECT_EQ(amount, -1);
  EXPECT_EQ(period, -1);
  EXPECT_EQ(world.mRandom.mDraws, 0);
}

TEST_P(ThrottleTest, A_field_that_is_not_numeric_fails) {
  Box().SetValue(1);
  const QString text = Text("Bytes").Text();
  Text("Bytes").SetText(QStringLiteral("few"));
  EXPECT_EQ(FailureOf([&] { Ask(1000); }), 13);
  Text("Bytes").SetText(text);
  Text("Period").SetText(QString());
  EXPECT_EQ(FailureOf([&] { Ask(1000); }), 13);
  Choice().Select(1);
  EXPECT_TRUE(Ask(1000)) << "the fields of the other option do not count";
  Text("PeriodTo").SetText(QStringLiteral("x"));
  EXPECT_EQ(FailureOf([&] { Ask(1000); }), 13);
  Box().SetValue(0);
  EXPECT_FALSE(Ask(1000));
}

TEST_P(ThrottleTest, Values_have_32_bits) {
  Box().SetValue(1);
  Text("Bytes").SetText(QStringLiteral("100000"));
  Text("Period").SetText(QStringLiteral("100000"));
  EXPECT_TRUE(Ask(1000000));
  EXPECT_EQ(amount, 100000);
  EXPECT_EQ(period, 100000);
  Text("Bytes").SetText(QStringLiteral("2147483648"));
  EXPECT_EQ(FailureOf([&] { Ask(1000); }), 6);
}

TEST_F(DecisionsTest, A_decision_that_comes_before_the_window_is_loaded_goes_by_the_stored_values) {
  FailureWorld early;
  early.Save(QStringLiteral("FailureSim"), QStringLiteral("chkRefuseConnections"), QStringLiteral("1"));
  early.Save(QStringLiteral("FailureSim"), QStringLiteral("txtRefuseNthConnection"), QStringLiteral("1"));
  EXPECT_TRUE(early.mForm.ShouldConnectionRequestBeRefused());
  EXPECT_TRUE(early.mForm.IsLoaded());
  EXPECT_EQ(early.mPanes.mTexts[5], QStringLiteral("Refuse: ON "));
}

}  // namespace
}  // namespace veltrane
