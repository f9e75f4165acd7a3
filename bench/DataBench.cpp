// Indexing a large article file as Send opens it, and converting CSV lines to ECR records and
// back.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "AppConfig.h"
#include "DataConverter.h"
#include "FileErrors.h"
#include "FileIo.h"

namespace {

const int articleCount = 1000000;
const int duplicateCount = articleCount / 100;
const uint16 recordBufferSize = 1024;
const char articleFile[] = "/tmp/tavo_bench_articles.csv";

// The settings of a run without a configuration file, with the delimiter fixed as at start-up.
void Configure() {
    AppConfig::Clear();
    AppConfig::SetParameter("ConfigFilePath", "/nonexistent/TAVO.ini", false);
    AppConfig::Initialize();
    AppConfig::SetParameter("Delimiter", ",", false);
}

// About 60 bytes: number, name, price, group, tax rate, bar code and flags.
std::string ArticleLine(int key, std::mt19937& random) {
    const unsigned cents = static_cast<unsigned>(random() % 100000);
    const unsigned group = static_cast<unsigned>(1 + random() % 99);
    const unsigned taxRate = static_cast<unsigned>(1 + random() % 4);
    const unsigned flags = static_cast<unsigned>(random() % 256);
    char line[128];
    std::snprintf(line, sizeof(line),
                  "%d,\"Article no. %06d\",%u.%02u,%u,%u,\"40063%08d\",0x%02x01", key, key,
                  cents / 100, cents % 100, group, taxRate, key, flags);
    return line;
}

// Keys 1..990,000 once each plus 10,000 repeated ones, in random order.
std::vector<int> ShuffledKeys(std::mt19937& random) {
    std::vector<int> keys;
    keys.reserve(articleCount);
    for (int key = 1; key <= articleCount - duplicateCount; ++key) {
        keys.push_back(key);
    }
    for (int i = 0; i < duplicateCount; ++i) {
        keys.push_back(1 + static_cast<int>(random() % (articleCount - duplicateCount)));
    }
    std::shuffle(keys.begin(), keys.end(), random);
    return keys;
}

void WriteArticleFile() {
    std::mt19937 random(20240601);
    FILE* file = std::fopen(articleFile, "wb");
    if (file == nullptr) {
        std::perror(articleFile);
        std::exit(1);
    }
    for (int key : ShuffledKeys(random)) {
        const std::string line = ArticleLine(key, random);
        std::fprintf(file, "%s\r\n", line.c_str());
    }
    std::fclose(file);
}

// Every article line in memory, for the conversion benchmarks.
const std::vector<std::string>& ArticleLines() {
    static const std::vector<std::string> lines = [] {
        std::mt19937 random(20240601);
        std::vector<std::string> result;
        result.reserve(articleCount);
        for (int key : ShuffledKeys(random)) {
            result.push_back(ArticleLine(key, random));
        }
        return result;
    }();
    return lines;
}

// Standard output goes to /dev/null while the reader reports the duplicate lines.
class QuietStdout {
public:
    QuietStdout() : m_saved(dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        close(null);
    }
    ~QuietStdout() {
        std::fflush(stdout);
        dup2(m_saved, STDOUT_FILENO);
        close(m_saved);
    }

private:
    int m_saved;
};

void BM_IndexArticleFile(benchmark::State& state) {
    Configure();
    WriteArticleFile();
    for (auto _ : state) {
        QuietStdout quiet;
        DataConverter::Initialize(FileType_CSV);
        FileErrors::Reset();
        FileReader* reader = CreateFileReader(DetectFileType(articleFile, 3));
        reader->Open(articleFile);
        // The first record in key order, as the transfer would send it.
        char buffer[recordBufferSize];
        benchmark::DoNotOptimize(reader->Read(0, buffer, sizeof(buffer)));
        delete reader;
    }
    state.counters["duplicates"] = FileErrors::GetDuplicateRecordCount();
    state.SetItemsProcessed(state.iterations() * articleCount);
    FileErrors::Reset();
}
BENCHMARK(BM_IndexArticleFile)->Unit(benchmark::kMillisecond)->MinTime(3);

void BM_CsvToEcr(benchmark::State& state) {
    Configure();
    DataConverter::Initialize(FileType_CSV);
    const std::vector<std::string>& lines = ArticleLines();
    byte record[recordBufferSize];
    size_t failures = 0;
    for (auto _ : state) {
        for (const std::string& line : lines) {
            const uint16 length =
                DataConverter::PcToEcr(reinterpret_cast<const byte*>(line.data()),
                                       static_cast<uint16>(line.size()), record, sizeof(record));
            failures += length == 0;
            benchmark::DoNotOptimize(record);
        }
    }
    state.counters["failures"] = static_cast<double>(failures);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(lines.size()));
}
BENCHMARK(BM_CsvToEcr)->Unit(benchmark::kMillisecond);

void BM_EcrToCsv(benchmark::State& state) {
    Configure();
    DataConverter::Initialize(FileType_CSV);
    std::vector<std::vector<byte>> records;
    records.reserve(articleCount);
    byte buffer[recordBufferSize];
    for (const std::string& line : ArticleLines()) {
        const uint16 length =
            DataConverter::PcToEcr(reinterpret_cast<const byte*>(line.data()),
                                   static_cast<uint16>(line.size()), buffer, sizeof(buffer));
        records.emplace_back(buffer, buffer + length);
    }
    size_t failures = 0;
    for (auto _ : state) {
        for (const std::vector<byte>& record : records) {
            const uint16 length = DataConverter::EcrToPc(
                record.data(), static_cast<uint16>(record.size()), buffer, sizeof(buffer));
            failures += length == 0;
            benchmark::DoNotOptimize(buffer);
        }
    }
    state.counters["failures"] = static_cast<double>(failures);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(records.size()));
}
BENCHMARK(BM_EcrToCsv)->Unit(benchmark::kMillisecond);

} // namespace
