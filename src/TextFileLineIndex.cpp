#include "TextFileLineIndex.h"

#include <climits>
#include <cstring>

#include "Console.h"
#include "Decimal.h"
#include "Exceptions.h"
#include "Formatting/TextDataParser.h"
#include "Logging.h"
#include "OLVE_Compatibility.h"
#include "RawFile.h"

namespace {

// Lines are taken in pieces as a 1024-byte fgets buffer takes them.
const int lineBufferSize = 1024;
const char lineEndBlanks[] = " \t\r\n";

// Splits a stream into lines exactly as repeated fgets calls with one buffer size would, but
// knows how many bytes each piece took from the file, NUL bytes included.
class LineSplitter {
public:
    explicit LineSplitter(FILE* file) : m_file(file), m_chunk(64 * 1024) {}

    // Copies the next piece (up to and including a newline, at most maxChars characters) into
    // line, terminated. Returns the bytes taken from the file; 0 at the end of the file.
    size_t Next(char* line, size_t maxChars) {
        size_t count = 0;
        while (count < maxChars) {
            if (m_pos == m_end && !Refill()) {
                break;
            }
            const size_t wanted = std::min(maxChars - count, m_end - m_pos);
            const char* start = m_chunk.data() + m_pos;
            const void* newline = std::memchr(start, '\n', wanted);
            const size_t taken =
                newline != nullptr ? static_cast<const char*>(newline) - start + 1 : wanted;
            std::memcpy(line + count, start, taken);
            m_pos += taken;
            count += taken;
            if (newline != nullptr) {
                break;
            }
        }
        line[count] = '\0';
        return count;
    }

private:
    bool Refill() {
        m_pos = 0;
        m_end = std::fread(m_chunk.data(), 1, m_chunk.size(), m_file);
        return m_end > 0;
    }

    FILE* m_file;
    std::vector<char> m_chunk;
    size_t m_pos = 0;
    size_t m_end = 0;
};

// Length of the text of a line (up to its first NUL) without trailing blanks and line end.
size_t TrimmedLength(const char* line) {
    size_t length = std::strlen(line);
    while (length > 0 && std::strchr(lineEndBlanks, line[length - 1]) != nullptr) {
        --length;
    }
    return length;
}

// Where the stream stands after fgets read the line at lineOffset into buffer, or -1 when that
// cannot be told: a NUL byte in the line hides how many bytes fgets took.
int64_t NextLineOffset(int64_t lineOffset, const char* buffer, int bufferSize) {
    const size_t taken = std::strlen(buffer);
    const bool wholeLine = taken > 0 && buffer[taken - 1] == '\n';
    const bool fullBuffer = taken == static_cast<size_t>(bufferSize - 1);
    return wholeLine || fullBuffer ? lineOffset + static_cast<int64_t>(taken) : -1;
}

enum LineKind { LineKind_Record, LineKind_Bad };

// The key of a non-empty line: the number in its first field when more fields follow, 0 for
// a line whose first field is text or whose only field is a number.
LineKind ClassifyLine(const char* line, size_t length, char delimiter, int64_t& key) {
    TextDataParser parser(reinterpret_cast<const byte*>(line), static_cast<uint16>(length),
                          delimiter);
    key = 0;
    switch (parser.GetFieldType()) {
    case FieldType_Unknown:
        return LineKind_Bad;
    case FieldType_Number: {
        Decimal number;
        if (!parser.GetNumber(number)) {
            return LineKind_Bad;
        }
        if (parser.GetFieldType() != FieldType_None) {
            key = number.ToInt64();
            if (key == -1) {
                return LineKind_Bad;
            }
        }
        return LineKind_Record;
    }
    default:
        return LineKind_Record;
    }
}

} // namespace

void TextFileLineIndex::Entries::push_back(const FileLine& entry) {
    if ((m_size >> blockBits) == m_blocks.size()) {
        m_blocks.emplace_back(new FileLine[blockMask + 1]);
    }
    (*this)[m_size++] = entry;
}

void TextFileLineIndex::Entries::resize(size_t count) {
    if (count > m_size) {
        THROW_INTERNAL_ERROR();
    }
    m_size = count;
    m_blocks.resize((count + blockMask) >> blockBits);
    if (count == 0) {
        m_blocks.shrink_to_fit();
    }
}

TextFileLineIndex::~TextFileLineIndex() {
    Close();
}

int TextFileLineIndex::Build(const std::string& filename, LineCallback onEmptyLine,
                             LineCallback onBadLine) {
    Close();
    ioFile = OpenInputFile(filename);
    ShowProgress("Preparing data ...\r");
    LogMsg(LogType_Debug, "Preparing input file data", true);

    const char delimiter = TextDataParser::GetConfiguredDelimiter();
    LineSplitter splitter(ioFile);
    char line[lineBufferSize];
    int lineNumber = 1;
    int64_t offset = 0;
    for (;;) {
        const size_t taken = splitter.Next(line, lineBufferSize - 1);
        if (taken == 0) {
            break;
        }
        const size_t length = TrimmedLength(line);
        int64_t key = 0;
        if (length == 0) {
            if (onEmptyLine != nullptr) {
                onEmptyLine(lineNumber);
            }
        } else if (ClassifyLine(line, length, delimiter, key) == LineKind_Bad) {
            if (onBadLine != nullptr) {
                onBadLine(lineNumber);
            }
        } else {
            Append(key, offset, lineNumber, filename);
        }
        ++lineNumber;
        offset += static_cast<int64_t>(taken);
    }
    // The lines are re-read through stdio later; leave the stream at a defined place.
    std::rewind(ioFile);
    streamOffset = 0;

    LogMsg(LogType_Debug, "Preparing input file data finished", true);
    ShowProgress("                  \r");
    return GetCount();
}

void TextFileLineIndex::Append(int64_t key, int64_t offset, int lineNumber,
                               const std::string& filename) {
    // Offsets are kept in 32 bits to keep the index small; larger files cannot be indexed.
    if (offset > INT32_MAX) {
        throw new FileIoException("File '" + filename + "' is too large");
    }
    fileLineIndex.push_back(FileLine{key, static_cast<int32_t>(offset), lineNumber});
}

TextFileLineIndex::FileLine& TextFileLineIndex::At(int index) {
    if (index < 0 || index >= GetCount()) {
        THROW_INTERNAL_ERROR();
    }
    return fileLineIndex[static_cast<size_t>(index)];
}

const TextFileLineIndex::FileLine& TextFileLineIndex::GetEntry(int index) const {
    if (index < 0 || index >= GetCount()) {
        THROW_INTERNAL_ERROR();
    }
    return fileLineIndex[static_cast<size_t>(index)];
}

void TextFileLineIndex::Exchange(int i, int j) {
    std::swap(At(i), At(j));
}

void TextFileLineIndex::SortRange(int first, int last) {
    // Quicksort on the middle element's key. The left part of each partition is sorted before
    // the right one in a classic recursive version; the parts are disjoint, so keeping them on
    // an explicit stack gives the same order without deep recursion on unlucky input.
    std::vector<std::pair<int, int>> pending;
    pending.emplace_back(first, last);
    while (!pending.empty()) {
        int lo = pending.back().first;
        const int hi = pending.back().second;
        pending.pop_back();
        for (;;) {
            const int64_t pivot = At(lo + (hi - lo) / 2).lineKey;
            int i = lo;
            int j = hi;
            while (i <= j) {
                while (At(i).lineKey < pivot) {
                    ++i;
                }
                while (At(j).lineKey > pivot) {
                    --j;
                }
                if (i <= j) {
                    Exchange(i, j);
                    ++i;
                    --j;
                }
            }
            if (lo < j) {
                pending.emplace_back(lo, j);
            }
            if (i >= hi) {
                break;
            }
            lo = i;
        }
    }
}

bool TextFileLineIndex::IsSorted() const {
    for (size_t i = 1; i < fileLineIndex.size(); ++i) {
        if (fileLineIndex[i - 1].lineKey > fileLineIndex[i].lineKey) {
            return false;
        }
    }
    return true;
}

bool TextFileLineIndex::HasUnkeyedRecord() const {
    for (size_t i = 1; i < fileLineIndex.size(); ++i) {
        if (fileLineIndex[i].lineKey == 0) {
            return true;
        }
    }
    return false;
}

void TextFileLineIndex::RemoveDuplicates(LineCallback onDuplicate) {
    if (fileLineIndex.empty()) {
        return;
    }
    // Walks pairs (current, next) as removing one of two equal neighbours in place would, but
    // compacts in one pass. Of two equal keys the entry with the smaller line number goes (the
    // current one when both are equal), so each run keeps its last line in the file.
    size_t kept = 0;
    FileLine current = fileLineIndex[0];
    for (size_t next = 1; next < fileLineIndex.size(); ++next) {
        const FileLine& candidate = fileLineIndex[next];
        if (candidate.lineKey != current.lineKey) {
            fileLineIndex[kept++] = current;
            current = candidate;
            continue;
        }
        if (onDuplicate != nullptr) {
            onDuplicate(candidate.lineNumber);
        }
        if (current.lineNumber <= candidate.lineNumber) {
            current = candidate;
        }
    }
    fileLineIndex[kept++] = current;
    fileLineIndex.resize(kept);
}

int TextFileLineIndex::ReadLine(int index, char* buffer, int bufferSize) {
    if (index < 0 || index >= GetCount() || ioFile == nullptr || bufferSize <= 0) {
        return 0;
    }
    const int64_t lineOffset = At(index).lineOffset;
    // Records are mostly read in file order: then the stream already stands at the line, and
    // a seek would only cost a system call.
    if (lineOffset != streamOffset && std::fseek(ioFile, lineOffset, SEEK_SET) != 0) {
        streamOffset = -1;
        buffer[0] = '\0';
        return 0;
    }
    if (std::fgets(buffer, bufferSize, ioFile) == nullptr) {
        streamOffset = -1;
        buffer[0] = '\0';
        return 0;
    }
    streamOffset = NextLineOffset(lineOffset, buffer, bufferSize);
    const size_t length = TrimmedLength(buffer);
    buffer[length] = '\0';
    return static_cast<int>(length);
}

void TextFileLineIndex::Close() {
    fileLineIndex.clear();
    streamOffset = -1;
    if (ioFile != nullptr) {
        std::fclose(ioFile);
        ioFile = nullptr;
    }
}
