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

/// Ids of KTdf::GetError. An error in a file has its byte offset in GetLastErrorOffset.
enum ETdfError : int
{
    eTdfErrorMisuse = 0,        ///< a write out of order: no field open, an end without a begin
    eTdfErrorFieldOpen,         ///< saving while a field is still being written
    eTdfErrorCannotRead,        ///< the system refused, or the stream failed
    eTdfErrorCannotWrite,       ///< the system refused; the file at the path is unchanged
    eTdfErrorNotAStore,         ///< too short, or another magic number
    eTdfErrorVersion,           ///< a format version that this library does not know
    eTdfErrorChecksum,          ///< damaged or cut: the checksum is wrong
    eTdfErrorCut,               ///< an item runs beyond the end
    eTdfErrorNotDeterministic,  ///< an item that is not in its shortest form
    eTdfErrorUnknownItem,       ///< an unexpected item
    eTdfErrorCount,             ///< a count greater than the remaining bytes allow
    eTdfErrorNesting,           ///< blocks nested deeper than KTdf::kMaxNesting
    eTdfErrorText,              ///< text that is not UTF-8, or UTF-8 stored as bytes
    eTdfErrorRange,             ///< an int beyond 32 bits or a time beyond 64
    eTdfErrorName,              ///< a field name longer than KTdf::kMaxNameSize
    eTdfErrorTooMany,           ///< more fields than the range of int
    eTdfErrorTrailing,          ///< bytes after the last field
    eTdfErrorMemory,            ///< out of memory
    eTdfErrorIdCount            ///< number of ids
};

/// A value at a time, for FieldWriteSamples and FieldReadSamples.
struct KTdfSample
{
    KTime time;
    float value = 0.0f;
};

/// The field store: a document of named fields, each with typed values and optionally a block of
/// further fields. The document is in memory; Save and Load write and read streams and files.
/// docs/store-format.md describes the format.
///
/// Names need not be unique: fields of one name in a block are its instances, numbered from 0 in
/// the order written. Values have a type; a float is stored as a double.
///
/// Only one thread at a time may use a document, since reading also changes its state. A copy is
/// deep and includes the state of writing and reading.
class CORVEKIT_API KTdf
{
public:
    /// Type letters, returned by FieldReadGetType.
    static constexpr char kTypeDouble = 'D';
    static constexpr char kTypeInt = 'I';
    static constexpr char kTypeTime = 'T';
    static constexpr char kTypeCharacter = 'C';
    static constexpr char kTypeText = 'S';
    static constexpr char kTypeNone = '\0';

    /// Greatest depth of nested blocks that is written and read. Sufficient for all trees of nodes,
    /// and small enough for recursive readers.
    static constexpr int kMaxNesting = 1024;
    /// Greatest size of the name of a field in bytes.
    static constexpr std::size_t kMaxNameSize = 65535;
    /// Greatest number of letters of a sample.
    static constexpr std::size_t kMaxSampleLetters = 4;

    KTdf();
    KTdf(const KTdf&) = default;
    KTdf& operator=(const KTdf& pOther) { return *this = KTdf(pOther); }
    /// A document that was moved from can only be assigned, cleared and destroyed.
    KTdf(KTdf&&) = default;
    KTdf& operator=(KTdf&&) = default;

    /// Removes all fields and the error. Checked reading is unchanged.
    void Clear();
    /// Whether no field has been completed.
    bool IsEmpty() const { return mRootEnd == 0; }

    /// The last error: an id of ETdfError, a text, and for a file the byte offset.
    const KError& GetError() const { return mError; }

    // Writing (store/tdf_writer.cpp)

    /// A field is written by FieldWriteBegin, its values, optionally FieldWriteBlockBegin, inner
    /// fields and FieldWriteBlockEnd, and FieldWriteEnd. A call out of this order returns false and
    /// sets the error, and all later writes fail until Clear, so that an incomplete document cannot
    /// be saved. A write that throws std::bad_alloc has the same effect. Writing closes all fields
    /// that are open for reading.
    ///
    /// pName  any bytes up to the first zero byte, at most kMaxNameSize; null is read as "".
    bool FieldWriteBegin(const char* pName);
    bool FieldWriteEnd();
    bool FieldWriteBlockBegin();
    bool FieldWriteBlockEnd();

    bool FieldWriteI(int pValue);
    /// Doubles are read back with the same bits, except that a NaN is read as a quiet NaN.
    bool FieldWriteD(double pValue);
    bool FieldWriteF(float pValue);
    /// Any bytes up to the first zero byte, UTF-8 or not; null is read as "".
    bool FieldWriteC(const char* pText);
    /// May contain zero bytes.
    bool FieldWriteS(const KString& pText);
    bool FieldWriteCH(char pValue);
    bool FieldWriteT(KTime pValue);

    /// For each sample FieldWriteT, FieldWriteF and FieldWriteCH for each letter, but much faster.
    /// Used for recordings. More than kMaxSampleLetters letters are an error like a write out of
    /// order.
    bool FieldWriteSamples(std::span<const KTdfSample> pSamples, std::string_view pLetters);

    // Reading: fields (store/tdf_reader.cpp)

    /// Opens the next field of a name in the current block: the first one in the first call, then
    /// its other instances in the order written. After the last one it returns false, until the
    /// block is entered again, FieldReadRewind is called, or an instance is opened by index. Also
    /// false while another field is open and its block has not been entered. Only completed fields
    /// are found.
    ///
    /// Cost: the first call in a block sorts its fields by name, each call is a binary search.
    bool FieldReadBegin(const char* pName);
    /// Opens an instance by its number; FieldReadBegin continues after it.
    bool FieldReadBegin(const char* pName, int pIndex);
    /// Opens the field after the last one opened, of any name, or the first one of the block.
    bool FieldReadBeginNext();
    /// Closes the open field. Ignored without one, also inside its block.
    void FieldReadEnd();
    /// Enters the block of the open field; false if it has none. A block may be entered again.
    bool FieldReadBlockBegin();
    /// Leaves the block and returns to its field. Ignored while a field of the block is open, so
    /// that it may also be called after a FieldReadBlockBegin that returned false.
    void FieldReadBlockEnd();
    /// Restarts reading of the current block. Ignored while a field is open.
    void FieldReadRewind();

    /// Number of fields of a name in the current block; 0 while a field is open.
    int FieldGetInstanceCount(const char* pName);
    /// Number of fields in the current block; 0 while a field is open.
    int FieldGetCount() const;
    /// Name of the open field, "" without one.
    KString FieldReadGetName() const;

    // Reading: values (store/tdf_reader.cpp)

    /// The next value of the open field. A value of another type is skipped and the result is 0, ""
    /// or a zero byte. So is the result after the last value and without an open field. Values are
    /// not converted: FieldReadD of an int returns 0.
    int FieldReadI();
    double FieldReadD();
    /// The double rounded to float; an infinity outside the range of float.
    float FieldReadF();
    /// Never null, and valid until the next text is read from this document. Ends at the first zero
    /// byte of the text.
    const char* FieldReadC();
    KString FieldReadS();
    char FieldReadCH();
    KTime FieldReadT();

    /// Reads samples while the next values are a time, a floating point number and these letters,
    /// and returns their number. Stops at the first other value, or when pSamples is full. 0 for
    /// more than kMaxSampleLetters letters.
    std::size_t FieldReadSamples(std::span<KTdfSample> pSamples, std::string_view pLetters);

    /// FieldReadBegin, one value, FieldReadEnd. Returns the default if there is no further field of
    /// the name or its first value is of another type. FieldReadC then returns the pointer
    /// pDefault.
    int FieldReadI(const char* pName, int pDefault);
    double FieldReadD(const char* pName, double pDefault);
    float FieldReadF(const char* pName, float pDefault);
    const char* FieldReadC(const char* pName, const char* pDefault);
    KString FieldReadS(const char* pName, const KString& pDefault);
    char FieldReadCH(const char* pName, char pDefault);
    KTime FieldReadT(const char* pName, KTime pDefault);

    /// Type letter of the next value, kTypeNone after the last one.
    char FieldReadGetType() const;
    /// Number of values of the open field that are not read yet, 0 without one.
    std::int64_t FieldReadGetRemain() const { return static_cast<std::int64_t>(mReadRemain); }

    /// Whether readers of this document should check the type of each value and skip values of
    /// other types. The document only stores this flag. Initially true.
    bool IsCheckedReading() const { return mCheckedReading; }
    void SetCheckedReading(bool pChecked) { mCheckedReading = pChecked; }

    // Files (store/tdf_file.cpp, store/tdf_parser.cpp)

    /// Writes the document. False, with the error set, if a field is open, an earlier write failed,
    /// the target cannot be written, or memory runs out.
    ///
    /// A path is written by a KAtomicFile, so that after a failure or a crash it is the complete
    /// old file or the complete new one.
    bool Save(std::ostream& pStream);
    bool Save(const char* pPath);

    /// Replaces the document by the rest of a stream, a file or bytes in memory.
    /// False for an error in it or if memory runs out: GetError has the fault and the offset, and
    /// the document is empty. Memory is allocated while bytes are read: three times their number
    /// for a file of values, at most 40 times for a file of empty fields.
    bool Load(std::istream& pStream);
    bool Load(const char* pPath);
    bool Load(std::span<const std::uint8_t> pBytes);

private:
    class Parser;
    class Sink;
    using Source = std::function<std::size_t(std::uint8_t* pOut, std::size_t pSize)>;

    static constexpr std::uint32_t kNoField = 0xFFFFFFFF;
    static constexpr std::uint32_t kNoBlock = 0xFFFFFFFF;

    // Fields are in the order written, the fields of a block after the field of the block. Their
    // encoded names and values are in the same order in mBytes, without gaps.
    struct Field
    {
        std::uint64_t begin;     // of the encoded name in mBytes; the values follow
        std::uint64_t count;     // of values
        std::uint32_t nameSize;  // encoded
        std::uint32_t hash;      // of the bytes of the name
        std::uint32_t below;     // fields in its block and inner blocks
        std::uint32_t children;  // fields in its block without inner blocks, or kNoBlock
    };

    // One field of a block that is being read, in the order of names.
    struct Named
    {
        std::uint32_t hash;
        std::uint32_t field;
        std::uint32_t opened;  // in the first instance of a name: the next instance to open
    };

    // A block that is being read; the first one is the document. Has the state to which
    // FieldReadBlockEnd returns.
    struct Level
    {
        std::uint32_t first;
        std::uint32_t end;
        std::uint32_t next;   // for FieldReadBeginNext
        std::uint32_t field;  // the field with this block
        std::uint64_t at;
        std::uint64_t remain;
        bool sorted;
        std::vector<Named> names;
    };

    enum EWriteState : int
    {
        eWriteFields,  // a field may begin
        eWriteValues,  // a field is open: values, a block, or its end may follow
        eWriteClosed,  // the block of the open field has ended: only its end may follow
        eWriteFailed
    };

    void Reset();
    bool FailWrite(const char* pText);
    bool Fail(int pId, const char* pText, std::int64_t pOffset = -1);
    // Counts a value and reserves pSize bytes for it. Null if no value may be written.
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
    // Ends the reading of a value of the open field, up to pAt.
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

    KByteBuffer mBytes;  // mSize bytes are in use
    std::size_t mSize = 0;
    std::vector<Field> mFields;
    std::uint32_t mRootEnd = 0;    // number of completed fields, with inner ones
    std::uint32_t mRootCount = 0;  // number of completed fields of the document

    EWriteState mWriteState = eWriteFields;
    std::uint64_t mWriteCount = 0;            // values of the open field
    std::vector<std::uint32_t> mWriteFields;  // open fields, outermost first

    std::uint32_t mReadField = kNoField;  // the open field, kNoField between fields
    std::uint64_t mReadAt = 0;
    std::uint64_t mReadRemain = 0;
    std::size_t mDepth = 0;      // levels of mLevels in use
    std::vector<Level> mLevels;  // not removed when they are left, to reuse their memory
    std::string mText;           // the result of FieldReadC

    bool mCheckedReading = true;
    KError mError;
};
