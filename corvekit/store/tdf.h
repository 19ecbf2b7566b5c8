// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/assert.h"
#include "corvekit/error.h"
#include "corvekit/export.h"
#include "corvekit/store/byte_buffer.h"
#include "corvekit/string.h"
#include "corvekit/time.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Ids of KTdf::GetError. What went wrong in a file has its byte offset in GetLastErrorOffset.
enum ETdfError : int
{
    eTdfErrorMisuse = 0,        ///< a write out of order: no field open, an end without a begin
    eTdfErrorFieldOpen,         ///< saving while a field is still being written
    eTdfErrorCannotRead,        ///< the system refused, or the stream broke
    eTdfErrorCannotWrite,       ///< the system refused; what stood at the path still stands
    eTdfErrorNotAStore,         ///< too short, or another magic number
    eTdfErrorVersion,           ///< a format version that this library does not know
    eTdfErrorChecksum,          ///< damaged or cut: the closing sum does not fit
    eTdfErrorCut,               ///< an item runs beyond the end
    eTdfErrorNotDeterministic,  ///< an item that is not in its shortest form
    eTdfErrorUnknownItem,       ///< an item that has no meaning at its place
    eTdfErrorCount,             ///< more items announced than bytes are left for
    eTdfErrorNesting,           ///< blocks within blocks beyond KTdf::kMaxNesting
    eTdfErrorText,              ///< text that is not UTF-8, or is and was stored as bytes
    eTdfErrorRange,             ///< an int beyond 32 bits or a time beyond 64
    eTdfErrorName,              ///< a field name longer than KTdf::kMaxNameSize
    eTdfErrorTooMany,           ///< more fields than an int counts
    eTdfErrorTrailing,          ///< bytes behind the last field
    eTdfErrorMemory,            ///< out of memory
    eTdfErrorIdCount            ///< how many ids there are
};

/// A value at a time, as FieldWriteSamples and FieldReadSamples take and give it.
struct KTdfSample
{
    KTime time;
    float value = 0.0f;
};

/// The field store: named fields, each with a run of typed values and, if wanted, a block of
/// further fields. A document is in memory; Save and Load take it to and from a stream or a path.
/// The bytes are those of docs/store-format.md.
///
/// Names need not be unique: fields of one name in one block are its instances, numbered from 0 in
/// the order written. Values keep their type: a float is widened and is a double from then on.
///
/// A document belongs to one thread at a time; reading moves it too. A copy is deep, the state of
/// writing and reading included.
class CORVEKIT_API KTdf
{
public:
    /// Type letters, as FieldReadGetType gives them.
    static constexpr char kTypeDouble = 'D';
    static constexpr char kTypeInt = 'I';
    static constexpr char kTypeTime = 'T';
    static constexpr char kTypeCharacter = 'C';
    static constexpr char kTypeText = 'S';
    static constexpr char kTypeNone = '\0';

    /// Blocks within blocks that can be written and are read. Enough for any tree of nodes, and
    /// few enough for readers that call themselves once a block.
    static constexpr int kMaxNesting = 1024;
    /// Bytes of a field's name.
    static constexpr std::size_t kMaxNameSize = 65535;
    /// Letters of a sample.
    static constexpr std::size_t kMaxSampleLetters = 4;

    KTdf();
    KTdf(const KTdf&) = default;
    KTdf& operator=(const KTdf& pOther) { return *this = KTdf(pOther); }
    /// A document that was moved from can be assigned, cleared and destroyed, nothing else.
    KTdf(KTdf&&) = default;
    KTdf& operator=(KTdf&&) = default;

    /// Back to a new document: no fields, no error. Checked reading stays as set.
    void Clear();
    /// True if no field was written to its end.
    bool IsEmpty() const { return mRootEnd == 0; }

    /// What failed last: an id of ETdfError, a text, for a read the byte offset.
    const KError& GetError() const { return mError; }

    // Writing (store/tdf_writer.cpp)

    /// A field is written as FieldWriteBegin, its values, if wanted FieldWriteBlockBegin, inner
    /// fields, FieldWriteBlockEnd, and FieldWriteEnd. The first call out of that order answers
    /// false, sets the error, and so does every later write until Clear: a document with a hole
    /// cannot be saved by mistake. A write that throws std::bad_alloc has the same effect. Writing
    /// leaves all fields that were open for reading.
    ///
    /// pName  any bytes up to the first zero byte, at most kMaxNameSize of them; null reads as "".
    bool FieldWriteBegin(const char* pName);
    bool FieldWriteEnd();
    bool FieldWriteBlockBegin();
    bool FieldWriteBlockEnd();

    bool FieldWriteI(int pValue);
    /// Any double comes back with the same bits, but for a NaN, which comes back as a quiet one.
    bool FieldWriteD(double pValue);
    bool FieldWriteF(float pValue);
    /// Up to the first zero byte; null reads as "". Any bytes, UTF-8 or not.
    bool FieldWriteC(const char* pText);
    /// Zero bytes within the text are kept.
    bool FieldWriteS(const KString& pText);
    bool FieldWriteCH(char pValue);
    bool FieldWriteT(KTime pValue);

    /// FieldWriteT, FieldWriteF and a FieldWriteCH for each letter, sample after sample, at a
    /// fraction of the price: what recordings are stored with. More than kMaxSampleLetters letters
    /// count as a write out of order.
    bool FieldWriteSamples(std::span<const KTdfSample> pSamples, std::string_view pLetters);

    // Reading: fields (store/tdf_reader.cpp)

    /// Opens the next field of a name in the current block: the first one at the first call, then
    /// its instances in the order written, wherever they stand among fields of other names. Behind
    /// the last one the answer is false and stays false, until the block is entered anew,
    /// FieldReadRewind, or an opening by index. False also while a field is open whose block has
    /// not been entered. Only fields written to their end are seen.
    ///
    /// Cost: the first call in a block sorts its fields by name, each call then is a binary search.
    bool FieldReadBegin(const char* pName);
    /// Opens an instance by its number; the walk of FieldReadBegin goes on behind it.
    bool FieldReadBegin(const char* pName, int pIndex);
    /// Opens the field behind the last one opened, whatever its name, or the block's first one.
    bool FieldReadBeginNext();
    /// Leaves the open field. Ignored without one, also inside its block.
    void FieldReadEnd();
    /// Enters the block of the open field; false if it has none. May be repeated after the end.
    bool FieldReadBlockBegin();
    /// Leaves the block, back to its field. Ignored while a field of the block is open, so that it
    /// may follow a FieldReadBlockBegin that answered false.
    void FieldReadBlockEnd();
    /// Starts all walks of the current block anew. Ignored while a field is open.
    void FieldReadRewind();

    /// Fields of a name in the current block; 0 while a field is open.
    int FieldGetInstanceCount(const char* pName);
    /// Fields in the current block; 0 while a field is open.
    int FieldGetCount() const;
    /// Name of the open field, "" without one.
    KString FieldReadGetName() const;

    // Reading: values (store/tdf_reader.cpp)

    /// The next value of the open field. A value of another type is passed over and gives a
    /// neutral value: 0, "" or a zero byte; so does reading behind the last value or with no field
    /// open, which passes over nothing. Nothing is converted: FieldReadD of an int gives 0.
    int FieldReadI();
    double FieldReadD();
    /// The double rounded to float; beyond the range of float an infinity.
    float FieldReadF();
    /// Never null. Valid until the next text is read from this document. Ends at the first zero
    /// byte of the text.
    const char* FieldReadC();
    KString FieldReadS();
    char FieldReadCH();
    KTime FieldReadT();

    /// Reads samples as long as a time, a floating point number and these letters stand next, and
    /// gives how many it read. Stops before the first values that are anything else, or when
    /// pSamples is full. 0 for more than kMaxSampleLetters letters.
    std::size_t FieldReadSamples(std::span<KTdfSample> pSamples, std::string_view pLetters);

    /// FieldReadBegin, one value, FieldReadEnd. The default if no field of the name is left in the
    /// walk or its first value is of another type. FieldReadC gives the very pointer pDefault then.
    int FieldReadI(const char* pName, int pDefault);
    double FieldReadD(const char* pName, double pDefault);
    float FieldReadF(const char* pName, float pDefault);
    const char* FieldReadC(const char* pName, const char* pDefault);
    KString FieldReadS(const char* pName, const KString& pDefault);
    char FieldReadCH(const char* pName, char pDefault);
    KTime FieldReadT(const char* pName, KTime pDefault);

    /// Type letter of the next value, kTypeNone behind the last.
    char FieldReadGetType() const;
    /// Values of the open field that are unread, 0 without one.
    std::int64_t FieldReadGetRemain() const { return static_cast<std::int64_t>(mReadRemain); }

    /// Checked reading: whether readers of this document test the type of each value before they
    /// read it, and step over what does not fit. The document only carries the flag. On at first.
    bool IsCheckedReading() const { return mCheckedReading; }
    void SetCheckedReading(bool pChecked) { mCheckedReading = pChecked; }

    // Files (store/tdf_file.cpp, store/tdf_parser.cpp)

    /// Writes the document. False, with the error set, if a field is still open, an earlier write
    /// failed, the target refuses, or memory runs out.
    ///
    /// To a path: by a KAtomicFile, so that a failure or a crash leaves the old file or the new
    /// one, complete.
    bool Save(std::ostream& pStream);
    bool Save(const char* pPath);

    /// Replaces the document by what is read, the rest of a stream, a file or bytes in memory.
    /// False if anything is wrong with it or memory runs out: GetError says what and where, and the
    /// document is empty.
    /// Memory is asked for as bytes arrive: three times their number for a file of values, at most
    /// 40 times for one of nothing but empty fields.
    bool Load(std::istream& pStream);
    bool Load(const char* pPath);
    bool Load(std::span<const std::uint8_t> pBytes);

private:
    class Parser;
    class Sink;
    using Source = std::function<std::size_t(std::uint8_t* pOut, std::size_t pSize)>;

    static constexpr std::uint32_t kNoField = 0xFFFFFFFF;
    static constexpr std::uint32_t kNoBlock = 0xFFFFFFFF;

    // Fields lie in the order written, a block's fields behind the field that holds it. Their
    // encoded names and values lie in the same order in mBytes, without a gap.
    struct Field
    {
        std::uint64_t begin;     // of the encoded name in mBytes; the values follow
        std::uint64_t count;     // values
        std::uint32_t nameSize;  // encoded
        std::uint32_t hash;      // of the name's bytes
        std::uint32_t below;     // fields in its block, those of inner blocks too
        std::uint32_t children;  // fields in its block, inner blocks apart, or kNoBlock
    };

    // One field of a block that is being read, in the order of names.
    struct Named
    {
        std::uint32_t hash;
        std::uint32_t field;
        std::uint32_t opened;  // on the first instance of a name: how far its walk has come
    };

    // A block that is being read; the first one is the document. Holds what FieldReadBlockEnd
    // goes back to.
    struct Level
    {
        std::uint32_t first;
        std::uint32_t end;
        std::uint32_t next;   // for FieldReadBeginNext
        std::uint32_t field;  // whose block it is
        std::uint64_t at;
        std::uint64_t remain;
        bool sorted;
        std::vector<Named> names;
    };

    enum EWriteState : int
    {
        eWriteFields,  // a field may begin
        eWriteValues,  // a field is open: values, a block, or its end
        eWriteClosed,  // the open field had its block: only its end may follow
        eWriteFailed
    };

    void Reset();
    bool FailWrite(const char* pText);
    bool Fail(int pId, const char* pText, std::int64_t pOffset = -1);
    // Counts a value and gives room for it, pSize bytes. Null if no value may be written here.
    std::uint8_t* Room(std::size_t pSize)
    {
        if (mWriteState != eWriteValues || mBytes.GetRoom() - mSize < pSize) {
            return MakeRoom(pSize);
        }
        CORVEKIT_ASSERT(!mWriteFields.empty());
        ++mWriteCount;
        return mBytes.GetData() + mSize;
    }
    std::uint8_t* MakeRoom(std::size_t pSize);
    template <typename Step>
    void GrowOrFail(const Step& pGrow);
    void WriteText(std::string_view pText);
    void FlushValueCount();

    void ResetReading();
    Level& CurrentLevel();
    void SortNames(Level& pLevel) const;
    std::size_t FindName(Level& pLevel, std::string_view pName, std::uint32_t pHash) const;
    bool IsNamed(const Named& pEntry, std::string_view pName, std::uint32_t pHash) const;
    std::string_view GetName(std::uint32_t pField) const;
    bool Open(std::string_view pName, std::int64_t pIndex);
    void OpenField(Level& pLevel, std::uint32_t pField);
    const std::uint8_t* ReadAt() const { return mBytes.GetData() + mReadAt; }
    // One value of the open field is read, up to pAt.
    void ReadTo(const std::uint8_t* pAt)
    {
        CORVEKIT_ASSERT(mReadRemain > 0 && pAt > ReadAt());
        mReadAt = static_cast<std::uint64_t>(pAt - mBytes.GetData());
        CORVEKIT_ASSERT(mReadAt <= mSize);
        --mReadRemain;
    }
    std::string_view ReadText();

    template <typename Check>
    bool LoadFrom(const Source& pSource, const char* pPath, const Check& pCheckSource);
    template <typename Step>
    bool AnswerForMemory(const Step& pStep);
    bool CheckComplete();
    bool WriteAll(Sink& pSink) const;
    bool Receive(const Source& pSource, const char* pPath, std::uint32_t* pSum);
    bool Accept(const char* pPath, std::uint32_t pSum);
    bool Refuse(int pId, const char* pPath, std::size_t pOffset);

    KByteBuffer mBytes;  // mSize of its room is used
    std::size_t mSize = 0;
    std::vector<Field> mFields;
    std::uint32_t mRootEnd = 0;    // fields up to here are written to their end
    std::uint32_t mRootCount = 0;  // fields of the document itself

    EWriteState mWriteState = eWriteFields;
    std::uint64_t mWriteCount = 0;            // values of the field being written
    std::vector<std::uint32_t> mWriteFields;  // fields being written, outermost first

    std::uint32_t mReadField = kNoField;  // the open field, kNoField between fields
    std::uint64_t mReadAt = 0;
    std::uint64_t mReadRemain = 0;
    std::size_t mDepth = 0;      // levels in use, of those in mLevels
    std::vector<Level> mLevels;  // kept for their memory when they are left
    std::string mText;           // what FieldReadC points into

    bool mCheckedReading = true;
    KError mError;
};
