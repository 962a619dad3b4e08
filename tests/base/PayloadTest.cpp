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

TEST(PayloadBuffer, Few_bytes_of_many_chunks_are_joined) {
  PayloadBuffer buffer;
  for (int i = 0; i < 1000; ++i)
    buffer.Append(QByteArray(8, static_cast<char>('a' + i % 26)));
  QList<Payload> pieces;
  const Payload taken = buffer.Take(8000);
  taken.AppendTo(pieces);
  EXPECT_EQ(pieces.size(), 1);
  EXPECT_EQ(taken.Size(), 8000);
  EXPECT_TRUE(taken.View().startsWith("aaaaaaaabbbbbbbb"));
}

/// What waits in a buffer when a slow reader is ready again: chunks of 100,000 bytes, each of one letter.
class PayloadRun : public testing::Test {
 protected:
  PayloadRun() {
    for (char letter = 'a'; letter < 'f'; ++letter) {
      mChunks.append(QByteArray(100000, letter));
      mBuffer.Append(mChunks.last());
      mAll.append(mChunks.last());
    }
  }

  static QList<Payload> PiecesOf(const Payload& payload) {
    QList<Payload> pieces;
    payload.AppendTo(pieces);
    return pieces;
  }

  QList<QByteArray> mChunks;
  PayloadBuffer mBuffer;
  QByteArray mAll;
};

TEST_F(PayloadRun, Taking_all_copies_nothing) {
  const Payload all = mBuffer.TakeAll();
  EXPECT_TRUE(mBuffer.IsEmpty());
  EXPECT_EQ(all.Size(), 500000);
  const QList<Payload> pieces = PiecesOf(all);
  ASSERT_EQ(pieces.size(), 5);
  for (qsizetype i = 0; i < 5; ++i)
    EXPECT_EQ(pieces[i].Data(), mChunks[i].constData());
}

TEST_F(PayloadRun, Taking_a_part_cuts_the_last_chunk) {
  const Payload part = mBuffer.Take(250000);
  const QList<Payload> pieces = PiecesOf(part);
  ASSERT_EQ(pieces.size(), 3);
  EXPECT_EQ(pieces[2].Size(), 50000);
  EXPECT_EQ(mBuffer.Size(), 250000);
  EXPECT_EQ(part.Bytes() + mBuffer.TakeAll().Bytes(), mAll);
}

TEST_F(PayloadRun, A_piece_of_it_is_found_at_every_place) {
  const Payload all = mBuffer.TakeAll();
  for (const qsizetype offset : {0, 1, 99999, 100000, 199999, 400000, 499999, 500000, 600000}) {
    for (const qsizetype length : {0, 1, 2, 100000, 100001, 300000, 600000})
      EXPECT_EQ(all.Piece(offset, length).Bytes(), mAll.mid(offset, length)) << offset << ' ' << length;
  }
  EXPECT_EQ(PiecesOf(all).size(), 5);
}

TEST_F(PayloadRun, Looking_at_a_copy_leaves_the_run_as_it_is) {
  const Payload all = mBuffer.TakeAll();
  const QList<Payload> copies{all};
  const Payload& copy = copies.first();
  EXPECT_TRUE(copy.IsSameAs(all));
  EXPECT_EQ(copy.View(), QByteArrayView(mAll));
  EXPECT_EQ(PiecesOf(copy).size(), 1);
  EXPECT_EQ(PiecesOf(all).size(), 5);
}

TEST_F(PayloadRun, A_rest_goes_back_to_the_front_in_pieces) {
  PayloadBuffer rest{mBuffer.Take(250000)};
  mBuffer.Prepend(rest);
  EXPECT_EQ(PiecesOf(mBuffer.TakeAll()).size(), 6);
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

TEST(PayloadBuffer, A_piece_costs_more_than_its_bytes) {
  PayloadBuffer buffer;
  EXPECT_EQ(buffer.Cost(), 0);
  for (int i = 0; i < 1000; ++i)
    buffer.Append(QByteArray(1, 'x'));
  EXPECT_EQ(buffer.Cost(), 1000 + 1000 * Payload::kPieceCost);
  EXPECT_EQ(buffer.Take(300).Cost(), 300 + Payload::kPieceCost) << "few bytes are joined";
  EXPECT_EQ(buffer.Cost(), 700 + 700 * Payload::kPieceCost);
  for (int i = 0; i < 300; ++i)
    buffer.Append(QByteArray(1000, 'x'));
  EXPECT_EQ(buffer.TakeAll().Cost(), 300700 + 1000 * Payload::kPieceCost) << "many stay a run";
  EXPECT_EQ(buffer.Cost(), 0);
  EXPECT_EQ(Payload().Cost(), 0);
}

TEST(PayloadBuffer, Pieces_that_cost_more_than_their_bytes_are_joined) {
  PayloadBuffer buffer;
  for (int i = 0; i < 100000; ++i)
    buffer.Append(QByteArray(1, static_cast<char>('a' + i % 26)));
  const QByteArray big(100000, 'y');
  buffer.Append(big);
  const Payload taken = buffer.TakeAll();
  QList<Payload> pieces;
  taken.AppendTo(pieces);
  ASSERT_EQ(pieces.size(), 3) << "no block is so large that little of it keeps much";
  EXPECT_EQ(pieces[0].Size(), 64 * 1024);
  EXPECT_EQ(pieces[1].Size(), 100000 - 64 * 1024);
  EXPECT_EQ(pieces[2].Data(), big.constData()) << "a large piece is not copied";
  EXPECT_EQ(taken.Cost(), 200000 + 3 * Payload::kPieceCost);
  EXPECT_EQ(taken.Size(), 200000);
  EXPECT_TRUE(taken.View().startsWith("abcdefghijklmnopqrstuvwxyzabc"));
  EXPECT_TRUE(taken.View().endsWith("yyy"));
}

TEST(PayloadBuffer, A_list_keeps_no_room_for_pieces_that_have_left) {
  QList<Payload> pieces(1000, QByteArray("x"));
  while (pieces.size() > 10) {
    TakeFirst(pieces);
    EXPECT_LE(pieces.capacity(), std::max<qsizetype>(64, 4 * pieces.size()));
  }
}

TEST(PayloadBuffer, Clear_empties) {
  PayloadBuffer buffer{Payload(QByteArray("abc"))};
  buffer.Clear();
  EXPECT_TRUE(buffer.IsEmpty());
  EXPECT_TRUE(buffer.TakeAll().IsEmpty());
}

}  // namespace
}  // namespace veltrane
