#pragma once
// The reference host's console pieces that are only text: the recording's progress bar and the
// summary of a recording log, and the once-a-second refresh of what `serve` answers.
#include "recording/rml_format.h"

#include <chrono>
#include <optional>
#include <string>

namespace orvex_host {

// "[##########----------]  50% 5/10 records"; `width` characters between the brackets.
std::string ProgressBar(int done, int total, int width = 30);

// One row per item: its name with unit, then minimum, mean and maximum over the records, NaN
// records left out ("-" when an item has no number at all).
std::string RecordSummary(const RmlLog& log);

// Says when a cached document is due for a refresh: at the first call, then only when at least
// `period` has passed since the last refresh, however often it is asked.
class RefreshGate {
public:
    using Clock = std::chrono::steady_clock;
    explicit RefreshGate(Clock::duration period = std::chrono::seconds(1)) : period_(period) {}

    bool Due(Clock::time_point now) {
        if (last_ && now - *last_ < period_) {
            return false;
        }
        last_ = now;
        return true;
    }

private:
    Clock::duration period_;
    std::optional<Clock::time_point> last_;
};

} // namespace orvex_host
