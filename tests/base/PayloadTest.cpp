#include <gtest/gtest.h>

#include "base/Payload.h"
#include "tests/support/Journal.h"

namespace veltrane {
namespace {

TEST(Payload, A_piece_shares_the_bytes_of_its_chunk) {
  const Payload chunk(QByteArray(100000, 'x'));
  const Payload piece = chunk.Piece(10, 20);
  EXPECT_EQ(piece.Size(), 20);
  EXPECT_EQ(piece.Data(), chunk.Data() + 10);
  EXPECT_EQ(piece.Piece(5, 100).Data(), chunk.Data() + 15);
  EXPECT_EQ(piece.Piece(5, 100).Size(), 15);
}

TEST(Payload, A_piece_outside_is_cut_to_what_is_there) {
  const Payload chunk(QByteArray("abc"));
  EXPECT_TRUE(chunk.Piece(3, 5).IsEmpty());
  EXPECT_TRUE(chunk.Piece(9, 5).IsEmpty());
  EXPECT_EQ(chunk.Piece(-2, 2).Bytes(), "ab");
  EXPECT_TRUE(chunk.Piece(1, -1).IsEmpty());
}

TEST(Payload, A_whole_chunk_gives_its_bytes_without_copying) {
  const QByteArray bytes(1000, 'x');
  EXPECT_EQ(Payload(bytes).Bytes().constData(), bytes.constData());
}

TEST(Payload, Every_byte_value_passes_through_text) {
  QString text;
  for (int i = 0; i < 256; ++i)
    text += QChar(i);
  const Payload payload = Payload::FromText(text);
  ASSERT_EQ(payload.Size(), 256);
  for (int i = 0; i < 256; ++i)
    EXPECT_EQ(static_cast<unsigned char>(payload.Data()[i]), i);
}

TEST(PayloadBuffer, Takes_in_the_order_of_appending) {
  PayloadBuffer buffer;
  buffer.Append(QByteArray("abc"));
  buffer.Append(QByteArray());
  buffer.Append(QByteArray("defgh"));
  EXPECT_EQ(buffer.Size(), 8);
  EXPECT_EQ(buffer.Take(2).Bytes(), "ab");
  EXPECT_EQ(buffer.Take(3).Bytes(), "cde");
  EXPECT_EQ(buffer.Take(100).Bytes(), "fgh");
  EXPECT_TRUE(buffer.IsEmpty());
  EXPECT_TRUE(buffer.Take(1).IsEmpty());
}

TEST(PayloadBuffer, A_piece_inside_one_chunk_is_not_copied) {
  const QByteArray chunk(20000, 'x');
  PayloadBuffer buffer{Payload(chunk)};
  EXPECT_EQ(buffer.Take(8192).Data(), chunk.constData());
  EXPECT_EQ(buffer.Take(8192).Data(), chunk.constData() + 8192);
  EXPECT_EQ(buffer.Size(), 20000 - 2 * 8192);
}

TEST(PayloadBuffer, Prepend_puts_a_rest_back_to_the_front) {
  PayloadBuffer buffer{Payload(QByteArray("world"))};
  PayloadBuffer front{Payload(QByteArray("hel"))};
  front.Append(QByteArray("lo "));
  buffer.Prepend(front);
  buffer.Prepend({});
  EXPECT_EQ(buffer.Size(), 11);
  EXPECT_EQ(buffer.TakeAll().Bytes(), "hello world");
}

TEST(PayloadBuffer, Clear_empties) {
  PayloadBuffer buffer{Payload(QByteArray("abc"))};
  buffer.Clear();
  EXPECT_TRUE(buffer.IsEmpty());
  EXPECT_TRUE(buffer.TakeAll().IsEmpty());
}

}  // namespace
}  // namespace veltrane
