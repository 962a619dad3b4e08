#include "failure/FailureFields.h"

#include <QHash>

#include <array>

#include "base/Numbers.h"
#include "engine/General.h"

namespace veltrane {
namespace {

const QString kSection = QStringLiteral("FailureSim");

/// The section's rows by key. Keys are compared without case, and the first of a name counts.
QHash<QString, QString> StoredRows(const ApplicationSettings& settings) {
  QHash<QString, QString> rows;
  for (const auto& [key, value] : settings.All(kSection)) {
    const QString name = key.toLower();
    if (!rows.contains(name)) rows.insert(name, value);
  }
  return rows;
}

}  // namespace

std::span<const frmProblemSimulation::Field> frmProblemSimulation::Fields() {
  using F = frmProblemSimulation;
  constexpr auto box = [](CheckBox F::*control) { return Field{control, nullptr, 0, nullptr, "0", nullptr}; };
  constexpr auto option = [](OptionGroup F::*control, int index, const char* set) {
    return Field{nullptr, control, index, nullptr, set, nullptr};
  };
  constexpr auto amount = [](TextBox F::*control, const char* text) {
    return Field{nullptr, nullptr, 0, control, text, &F::IsValidAmount};
  };
  constexpr auto period = [](TextBox F::*control, const char* text) {
    return Field{nullptr, nullptr, 0, control, text, &F::IsValidPeriod};
  };
  static constexpr std::array<Field, 56> kFields{
      box(&F::chkTerminateConnections),
      option(&F::optClose, 0, "True"),
      option(&F::optClose, 1, "False"),
      amount(&F::txtTerminateNthConnection, "5"),
      amount(&F::txtTerminateNPercOfConnections, "10"),
      option(&F::optCloseTime, 0, "True"),
      option(&F::optCloseTime, 1, "False"),
      period(&F::txtTerminateTime, "20000"),
      period(&F::txtTerminateTimeFrom, "5000"),
      period(&F::txtTerminateTimeTo, "20000"),
      option(&F::optGracefulTermination, 0, "True"),
      option(&F::optGracefulTermination, 1, "False"),
      box(&F::chkRefuseConnections),
      option(&F::optRefuse, 0, "True"),
      option(&F::optRefuse, 1, "False"),
      amount(&F::txtRefuseNthConnection, "5"),
      amount(&F::txtRefuseNPercOfConnections, "10"),
      box(&F::chkThrottleS2CData),
      option(&F::optS2CThrottle, 0, "True"),
      option(&F::optS2CThrottle, 1, "False"),
      amount(&F::txtS2CBytes, "200"),
      period(&F::txtS2CPeriod, "100"),
      amount(&F::txtS2CBytesFrom, "100"),
      amount(&F::txtS2CBytesTo, "300"),
      period(&F::txtS2CPeriodFrom, "50"),
      period(&F::txtS2CPeriodTo, "500"),
      box(&F::chkThrottleC2SData),
      option(&F::optC2SThrottle, 0, "True"),
      option(&F::optC2SThrottle, 1, "False"),
      amount(&F::txtC2SBytes, "200"),
      period(&F::txtC2SPeriod, "100"),
      amount(&F::txtC2SBytesFrom, "100"),
      amount(&F::txtC2SBytesTo, "300"),
      period(&F::txtC2SPeriodFrom, "50"),
      period(&F::txtC2SPeriodTo, "500"),
      box(&F::chkDangleConnections),
      option(&F::optDangle, 0, "True"),
      option(&F::optDangle, 1, "False"),
      amount(&F::txtDangleNthConnection, "5"),
      amount(&F::txtDangleNPercOfConnections, "10"),
      option(&F::optDangleStartTime, 0, "True"),
      option(&F::optDangleStartTime, 1, "False"),
      period(&F::txtDangleStartTime, "10000"),
      period(&F::txtDangleStartTimeFrom, "5000"),
      period(&F::txtDangleStartTimeTo, "30000"),
      option(&F::optDangleStopTime, 0, "True"),
      option(&F::optDangleStopTime, 1, "False"),
      period(&F::txtDangleStopTime, "10000"),
      period(&F::txtDangleStopTimeFrom, "5000"),
      period(&F::txtDangleStopTimeTo, "30000"),
      option(&F::optDangleClose, 0, "False"),
      option(&F::optDangleClose, 1, "True"),
      option(&F::optDangleClose, 2, "False"),
      option(&F::optDangleDirections, 0, "False"),
      option(&F::optDangleDirections, 1, "False"),
      option(&F::optDangleDirections, 2, "True"),
  };
  return kFields;
}

void frmProblemSimulation::OnLoad() {
  tabOptions.SetTab(0);
  QHash<QString, QString> stored;
  mSettingsWereRead = mGeneral.Guard(
      u"An error occurred while attempting to load the failure settings.  The operating system reports: ",
      [&] { stored = StoredRows(mGeneral.mSettings); });
  for (const Field& field : Fields()) {
    LoadField(field, stored.value(Key(field).toLower(), QString::fromLatin1(field.whenMissing)));
  }
  // Only now: an option changes the choice of its whole group.
  for (const Field& field : Fields())
    mLoadedOrSaved.insert(Key(field), Choice(field));
  RefreshFailureStatus();
}

// One unusable value costs its own control alone.
void frmProblemSimulation::LoadField(const Field& field, const QString& stored) {
  const QString message = QStringLiteral("An error occurred while attempting to load the failure setting ") +
                          Key(field) + QStringLiteral(".  The operating system reports: ");
  if (!mGeneral.Guard(message, [&] { SetValue(field, stored); })) {
    SetValue(field, QString::fromLatin1(field.whenMissing));
  }
}

// All at once, so that no schedule is stored by half.
void frmProblemSimulation::SaveSettings() {
  QList<SettingRow> rows;
  QHash<QString, QString> choices = mLoadedOrSaved;
  for (const Field& field : Fields()) {
    const QString key = Key(field);
    const QString choice = Choice(field);
    if (!mSettingsWereRead && choice == mLoadedOrSaved.value(key)) continue;
    rows.append({key, Value(field)});
    choices.insert(key, choice);
  }
  if (!rows.isEmpty()) {
    const ApplicationSettings& settings = mGeneral.mSettings;
    settings.Together([&] {
      for (const auto& [key, value] : rows)
        settings.Save(kSection, key, value);
    });
  }
  mLoadedOrSaved = choices;
}

QString frmProblemSimulation::Key(const Field& field) const {
  if (field.checkBox) return (this->*field.checkBox).Name();
  if (field.options) return (this->*field.options).Name() + u'_' + QString::number(field.option);
  return (this->*field.textBox).Name();
}

QString frmProblemSimulation::Value(const Field& field) const {
  if (field.checkBox) return QString::number((this->*field.checkBox).Value());
  if (field.options) return BooleanText((this->*field.options).Value(field.option));
  return (this->*field.textBox).Text();
}

// The options of a group are one choice: a row of it that is left as it stood could contradict the others.
QString frmProblemSimulation::Choice(const Field& field) const {
  return field.options ? QString::number((this->*field.options).Selected()) : Value(field);
}

void frmProblemSimulation::SetValue(const Field& field, const QString& text) {
  if (field.checkBox) {
    (this->*field.checkBox).SetValue(ToInt16(text));
  } else if (field.options) {
    (this->*field.options).SetValue(field.option, ToBoolean(text));
  } else {
    (this->*field.textBox).SetText(text);
  }
}

}  // namespace veltrane
