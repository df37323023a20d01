// What the link does for a datagram, piece by piece.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "commands/file_record.h"
#include "discovery/tavrin_unit.h"
#include "link/tv_udp.h"
#include "platform/text.h"

namespace brenholt {
namespace {

// A full listing page.
void WalkPage(benchmark::State& state) {
    std::vector<uint8_t> page;
    for (int i = 0; i < 36; ++i) {
        std::array<uint8_t, kRecordSize> record{};
        WriteRecord(record, {4096, {}, 0x20, 12});
        page.insert(page.end(), record.begin(), record.end());
        page.insert(page.end(), 12, 'n');
    }
    for ([[maybe_unused]] const auto _ : state) {
        RecordWalk walk(page);
        size_t bytes = 0;
        while (const auto entry = walk.Next()) {
            bytes += entry->name.size();
        }
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(WalkPage);

void ParseDescriptor(benchmark::State& state) {
    CTavrinUnit unit(u"192.168.0.2", 4000);
    for ([[maybe_unused]] const auto _ : state) {
        unit.ParseDescriptor(u"Packing_line_4_ARM_0102");
        benchmark::DoNotOptimize(unit.m_nVersion);
    }
}
BENCHMARK(ParseDescriptor);

void ConvertText(benchmark::State& state, const std::string& bytes) {
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(WideCharToMultiByte(MultiByteToWideChar(bytes)));
    }
}
BENCHMARK_CAPTURE(ConvertText, ascii, std::string("recipes\\batch-0042.csv"));
BENCHMARK_CAPTURE(ConvertText, accented,
                  std::string("Rezepte\\Gr\xC3\xB6\xC3\x9F"
                              "e-0042.csv"));

void BuildHeader(benchmark::State& state) {
    CTvUdp link;
    link.BeginCommand(u"UP00000000", 0, u"recipes\\batch-0042.csv", nullptr, 0, nullptr, nullptr,
                      nullptr);
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(link.BuildHeader());
    }
}
BENCHMARK(BuildHeader);

}  // namespace
}  // namespace brenholt
