// Reading binary property lists with long arrays: a plain array of short
// strings, and the keyed archive of an exclude command holding N paths, as
// the Main application sends it. Reading must stay linear in the number of
// elements (the fitted complexity is reported as the "_BigO" line); a reader
// that walks a list to reach each element is quadratic and shows it here at
// 100,000 elements.
// The bytes are made once per size, outside the timed loop.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "BenchSize.h"
#include "messages/ArchivedObject.h"
#include "messages/FileMessage.h"
#include "messages/KeyedArchive.h"
#include "platform/PlistValue.h"
#include "platform/PropertyList.h"
#include "support/ExpandingPropertyLists.h"

namespace {

// Distinct strings, so that the writer cannot share one object between them.
std::string shortString(std::size_t i) {
    return "item " + std::to_string(i);
}

// A path such as the Main application lists after a removal.
std::string leftoverPath(std::size_t i) {
    return "/Users/someone/Library/Caches/com.example.application" + std::to_string(i % 97) +
           "/Cache.db-" + std::to_string(i);
}

const std::vector<std::uint8_t>& arrayBytes(std::size_t count) {
    static std::map<std::size_t, std::vector<std::uint8_t>> made;
    auto& bytes = made[count];
    if (bytes.empty()) {
        platform::PlistArray array;
        array.reserve(count);
        for (std::size_t i = 0; i < count; ++i) array.emplace_back(shortString(i));
        bytes = platform::PropertyList::toBinary(platform::PlistValue(std::move(array)));
    }
    return bytes;
}

const std::vector<std::uint8_t>& excludeCommandBytes(std::size_t count) {
    static std::map<std::size_t, std::vector<std::uint8_t>> made;
    auto& bytes = made[count];
    if (bytes.empty()) {
        ArchivedObject::Array paths;
        paths.reserve(count);
        for (std::size_t i = 0; i < count; ++i) paths.emplace_back(leftoverPath(i));
        ArchivedObject::Dictionary command;
        command.emplace_back(ArchivedObject(FileMessage::kCommandKey),
                             ArchivedObject(FileMessage::kExcludePathsCommand));
        command.emplace_back(ArchivedObject(FileMessage::kPathsKey),
                             ArchivedObject(std::move(paths)));
        bytes = KeyedArchive::archivedDataWithRootObject(ArchivedObject(std::move(command)));
    }
    return bytes;
}

// Elements per second and bytes per second, with N for the complexity fit.
void recordPerElement(benchmark::State& state, std::size_t plistBytes) {
    state.SetComplexityN(state.range(0));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * plistBytes));
    state.counters["plist_bytes"] = static_cast<double>(plistBytes);
}

// Three sizes a decade apart, fitted to O(N).
void linearSizes(benchmark::internal::Benchmark* sizes) {
    sizes->Arg(benchSize(1000, 10))
        ->Arg(benchSize(10000, 100))
        ->Arg(benchSize(100000, 1000))
        ->Unit(benchmark::kMillisecond);
    sizes->Complexity(benchmark::oN);
}

void BM_ParseBinaryStringArray(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const std::vector<std::uint8_t>& bytes = arrayBytes(count);
    for (auto _ : state) {
        const std::optional<platform::PlistValue> value =
            platform::PropertyList::parse(bytes.data(), bytes.size());
        const platform::PlistArray* array = value ? value->asArray() : nullptr;
        const std::string* last = array && !array->empty() ? array->back().asString() : nullptr;
        if (last == nullptr || array->size() != count || *last != shortString(count - 1)) {
            state.SkipWithError("the array did not read back");
            break;
        }
        benchmark::DoNotOptimize(array);
    }
    recordPerElement(state, bytes.size());
}
BENCHMARK(BM_ParseBinaryStringArray)->Apply(linearSizes);

void BM_UnarchiveExcludeCommand(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const std::vector<std::uint8_t>& bytes = excludeCommandBytes(count);
    for (auto _ : state) {
        const std::optional<ArchivedObject> command = KeyedArchive::unarchiveObjectWithData(bytes);
        const ArchivedObject* paths =
            command ? command->objectForKey(FileMessage::kPathsKey) : nullptr;
        const ArchivedObject::Array* array = paths ? paths->asArray() : nullptr;
        const std::string* last = array && !array->empty() ? array->back().asString() : nullptr;
        if (last == nullptr || array->size() != count || *last != leftoverPath(count - 1)) {
            state.SkipWithError("the command did not read back");
            break;
        }
        benchmark::DoNotOptimize(array);
    }
    recordPerElement(state, bytes.size());
}
BENCHMARK(BM_UnarchiveExcludeCommand)->Apply(linearSizes);

// The expanding shapes (a few hundred kilobytes that refer 200,000 times to
// one 256 KiB string) must be refused from their counts alone, in about the
// time a read of their bytes takes, never by building what they describe.
void BM_RefuseExpandingList(benchmark::State& state) {
    namespace expanding = testsupport::expanding;
    const expanding::Size size{benchSize<std::size_t>(200'000, 2'000), 256 * 1024};
    const std::vector<std::uint8_t> shapes[] = {
        expanding::plainArray(size), expanding::infoPlist(size), expanding::commandArchive(size)};
    const std::vector<std::uint8_t>& bytes = shapes[state.range(0)];
    for (auto _ : state) {
        const bool read =
            state.range(0) == 2
                ? KeyedArchive::unarchiveObjectWithData(bytes).has_value()
                : platform::PropertyList::parse(bytes.data(), bytes.size()).has_value();
        if (read) {
            state.SkipWithError("an expanding list was read");
            break;
        }
    }
    state.SetLabel(state.range(0) == 0 ? "array" : state.range(0) == 1 ? "Info.plist" : "archive");
    state.counters["plist_bytes"] = static_cast<double>(bytes.size());
}
BENCHMARK(BM_RefuseExpandingList)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
