#include "forms/TextSource.h"

namespace veltrane {
namespace {

class StandingText : public TextSource {
 public:
  explicit StandingText(QString text) : mText(std::move(text)) {}
  qsizetype Length() const override { return mText.size(); }
  QString Piece(qsizetype offset, qsizetype length) const override { return mText.mid(offset, length); }

 private:
  QString mText;
};

class StandingBytes : public TextSource {
 public:
  explicit StandingBytes(Payload bytes) : mBytes(std::move(bytes)) {}
  qsizetype Length() const override { return mBytes.Size(); }
  QString Piece(qsizetype offset, qsizetype length) const override {
    return QString::fromLatin1(mBytes.Piece(offset, length).View());
  }

 private:
  Payload mBytes;
};

}  // namespace

TextSourceRef PlainText(const QString& text) {
  return std::make_shared<StandingText>(text);
}

TextSourceRef BytesAsText(const Payload& bytes) {
  return std::make_shared<StandingBytes>(bytes);
}

}  // namespace veltrane
