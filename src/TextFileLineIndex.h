// An index of the lines of a text data file by the record number in their first field. Only
// the key, the offset and the line number of each line are kept; a record is read again from
// the file when it is asked for.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

class TextFileLineIndex {
public:
    // One indexed line. Its key is the first field's scaled integer when more fields follow
    // ("1.5" gives 15), else 0; a key of exactly -1 makes the line bad instead.
    struct FileLine {
        int64_t lineKey;    // record number from the first field; 0 for a text first field
        int32_t lineOffset; // offset of the line's first character in the file
        int32_t lineNumber; // 1-based physical line
    };

    // Receives the line number of a line that is left out of the index.
    typedef void (*LineCallback)(int lineNumber);

    // An empty index with no file open.
    TextFileLineIndex() = default;
    // Not copyable: it owns the open file.
    TextFileLineIndex(const TextFileLineIndex&) = delete;
    TextFileLineIndex& operator=(const TextFileLineIndex&) = delete;
    // Closes the file.
    ~TextFileLineIndex();

    // Opens the file (kept open for ReadLine) and indexes it in file order, replacing any earlier
    // index; returns the entry count. Lines are read in pieces of at most 1023 characters, each a
    // line. Empty lines go to onEmptyLine, bad ones to onBadLine (either may be null). Raises
    // FileIoException (13) as OpenInputFile does, or "File '<name>' is too large" past 2 GiB.
    int Build(const std::string& filename, LineCallback onEmptyLine, LineCallback onBadLine);

    // Sorts entries first..last (inclusive) by key; not stable. REQUIRES: 0 <= first <= last <
    // GetCount(); otherwise InternalException (exit status 99).
    void SortRange(int first, int last);
    // True when the keys never decrease from one entry to the next; an empty index is sorted.
    bool IsSorted() const;
    // Whether an entry other than the first has key 0 (a line that is not a numbered record).
    bool HasUnkeyedRecord() const;
    // In a sorted index, keeps one entry per key: the one from the latest line. For every
    // compared pair of equal keys onDuplicate (may be null) gets the line number of the second
    // entry. In an unsorted index only neighbours with equal keys are merged.
    void RemoveDuplicates(LineCallback onDuplicate);

    // The number of entries.
    int GetCount() const { return static_cast<int>(fileLineIndex.size()); }
    // The entry at position index; InternalException (exit status 99) when there is none.
    const FileLine& GetEntry(int index) const;
    // Reads the line of entry index into buffer (at most bufferSize - 1 characters and a
    // terminator), without its trailing blanks, tabs and line end. Returns the length; 0 for a
    // missing entry, with no file open, or when the line cannot be read again. Raises nothing.
    int ReadLine(int index, char* buffer, int bufferSize);

    // Empties the index and closes the file; safe to call when none is open.
    void Close();

private:
    // Entries in fixed blocks: growing never copies the entries already stored, so indexing
    // a large file needs no more memory than its entries.
    class Entries {
    public:
        size_t size() const { return m_size; }
        bool empty() const { return m_size == 0; }
        FileLine& operator[](size_t i) { return m_blocks[i >> blockBits][i & blockMask]; }
        const FileLine& operator[](size_t i) const {
            return m_blocks[i >> blockBits][i & blockMask];
        }
        void push_back(const FileLine& entry);
        // Keeps the first count entries and frees the blocks no longer needed.
        void resize(size_t count);
        void clear() { resize(0); }

    private:
        static const size_t blockBits = 16;
        static const size_t blockMask = (size_t{1} << blockBits) - 1;
        std::vector<std::unique_ptr<FileLine[]>> m_blocks;
        size_t m_size = 0;
    };

    FileLine& At(int index);
    void Exchange(int i, int j);
    void Append(int64_t key, int64_t offset, int lineNumber, const std::string& filename);

    Entries fileLineIndex;
    FILE* ioFile = nullptr;
    // The file offset the stream stands at after the last read, or -1 when it is not known.
    int64_t streamOffset = -1;
};
