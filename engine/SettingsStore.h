// The settings store: sections and keys under an application's name, all values text, returned as they went
// in. A section's name may contain backslashes. Names are compared without case. A change by another program
// is seen at the next read.
#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <utility>

namespace veltrane {

/// A row of a section: key and value.
using SettingRow = std::pair<QString, QString>;

class SettingsStore {
 public:
  virtual ~SettingsStore() = default;

  /// False while another store stands in for the user's own, which cannot be read: nothing in it is his.
  virtual bool IsTheUsers() = 0;
  /// The stored text, or defaultValue when section or key does not exist.
  virtual QString GetSetting(const QString& application, const QString& section, const QString& key,
                             const QString& defaultValue) = 0;
  /// Creates section and key as needed.
  virtual void SaveSetting(const QString& application, const QString& section, const QString& key,
                           const QString& value) = 0;
  /// Makes all of the changes, or none where one of them fails or the program ends on the way. Not to be
  /// nested.
  virtual void Together(const std::function<void()>& changes) = 0;
  /// All rows of the section in the order in which they were first written.
  virtual QList<SettingRow> GetAllSettings(const QString& application, const QString& section) = 0;
  /// Removes a key. Fails with a bad argument when it is not there.
  virtual void DeleteSetting(const QString& application, const QString& section, const QString& key) = 0;
  /// Removes a section. Fails with a bad argument when it is not there.
  virtual void DeleteSetting(const QString& application, const QString& section) = 0;
};

/// The store as this program uses it: one application's part.
class ApplicationSettings {
 public:
  ApplicationSettings(SettingsStore& store, QString application)
      : mStore(store), mApplication(std::move(application)) {}

  bool IsTheUsers() const { return mStore.IsTheUsers(); }
  QString Get(const QString& section, const QString& key, const QString& defaultValue = {}) const {
    return mStore.GetSetting(mApplication, section, key, defaultValue);
  }
  void Save(const QString& section, const QString& key, const QString& value) const {
    mStore.SaveSetting(mApplication, section, key, value);
  }
  void Together(const std::function<void()>& changes) const { mStore.Together(changes); }
  QList<SettingRow> All(const QString& section) const { return mStore.GetAllSettings(mApplication, section); }
  void Delete(const QString& section, const QString& key) const {
    mStore.DeleteSetting(mApplication, section, key);
  }
  void DeleteSection(const QString& section) const { mStore.DeleteSetting(mApplication, section); }

 private:
  SettingsStore& mStore;
  QString mApplication;
};

}  // namespace veltrane
