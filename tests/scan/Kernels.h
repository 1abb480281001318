// Kernels: one set, loaded once for each kernel of this machine, and streams that are scanned with
// them. The plain kernel walks the lists and trees as they were loaded. What it reports, with which
// offsets and in which call, is what every other kernel has to report.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <list>
#include <optional>

#include "pattern/line/SignatureLine.h"
#include "scan/StreamScanner.h"
#include "store/PatternContainer.h"
#include "support/EngineOption.h"
#include "support/Refusal.h"
#include "testing/RandomSet.h"

using namespace STREAMENGINE_SPACE;
using QLT_SPACE::VectorUnit;

/// A host whose answers are given and whose events are written to a transcript.
struct Witness {
    std::vector<int32_t> answers;
    std::string transcript = {};
    size_t detections = 0;

    static int32_t onEvent(void* /*reserved*/, ZVK_ENGINE_EVENT_TYPE type, const void* data,
                           void* userData) {
        auto& self = *static_cast<Witness*>(userData);
        if (type == ZVK_EVENT_DATA_DUMP) {
            self.transcript += std::to_string(static_cast<const _ZVKDumpEvent*>(data)->length);
            return 0;
        }
        self.transcript += static_cast<const ZVKVirusEvent*>(data)->name;
        const size_t index = self.detections++;
        return index < self.answers.size() ? self.answers[index] : 0;
    }
    static constexpr ZVKScanEngineCallbacks kCallbacks = {onEvent};
};

/// What a host feeds to a stream and answers to it.
struct Stream {
    std::vector<std::string> chunks;
    std::vector<int32_t> answers;
};

/// A stream that is being scanned, a chunk at a time.
class StreamScan {
  public:
    /// Borrows both.
    StreamScan(StreamScanner& used, const Stream& scanned)
        : scanner(used), stream(scanned), witness{scanned.answers} {}

    bool isOver() const { return fed == stream.chunks.size(); }
    void feedNext() {
        if (fed == 0) {
            scanner.begin(&Witness::kCallbacks, &witness);
            feed(stream.chunks.front(), true);
            scanner.beginDetection();
        }
        feed(stream.chunks[fed++], false);
    }
    /// @return the events of the stream, the result of each call, and the stream's safe length
    std::string transcript() const {
        return witness.transcript + std::to_string(scanner.safeLength());
    }

  private:
    void feed(const std::string& chunk, bool typePass) {
        const auto length = static_cast<unsigned int>(chunk.size());
        const int count = scanner.scanBuffer(chunk.data(), length, typePass);
        witness.transcript += "=" + std::to_string(count) + "\n";
    }

    StreamScanner& scanner;
    const Stream& stream;
    Witness witness;
    size_t fed = 0;
};

inline std::string scanStream(StreamScanner& scanner, const Stream& stream) {
    StreamScan scan(scanner, stream);
    while (!scan.isOver()) scan.feedNext();
    return scan.transcript();
}

/// A set as it is loaded for one kernel, and a scanner that all streams use in turn.
struct Kernel {
    explicit Kernel(VectorUnit chosen) : unit(chosen) {}

    /// Loads the set anew, as a reload does.
    void load(const std::vector<Signature>& signatures) {
        scanner.reset();
        set.reset();
        for (const Signature& signature : signatures) {
            // Of a refused line the parts before the short one stay and take part.
            refusalOf([&] { addSignatureLine(set, lineOf(signature).c_str(), 3, true); });
        }
        setenv("ZVK_KERNEL", name(), 1);
        set.prepare();
        unsetenv("ZVK_KERNEL");
        scanner.emplace(set, &Witness::kCallbacks, nullptr, 0);
    }
    const char* name() const { return vectorUnitName(unit); }

    const VectorUnit unit;
    PatternContainer set;
    std::optional<StreamScanner> scanner = {};
};

/// One set for each kernel of this machine, the plain one first.
class KernelSet {
  public:
    KernelSet() {
        for (const VectorUnit unit :
             {VectorUnit::None, VectorUnit::Baseline, VectorUnit::Avx2, VectorUnit::Avx512}) {
            if (hasVectorUnit(unit)) kernels.emplace_back(unit);
        }
    }
    void load(const std::vector<Signature>& signatures) {
        for (Kernel& kernel : kernels) kernel.load(signatures);
    }
    Kernel& plain() { return kernels.front(); }

    std::list<Kernel> kernels;
};
