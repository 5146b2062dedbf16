#include "host_core/console_text.h"

#include "host_core/answer_render.h"
#include "rml/rml_output.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace orvex_host {
namespace {

std::string Fixed(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

} // namespace

std::string ProgressBar(int done, int total, int width) {
    const int clamped = std::clamp(done, 0, std::max(total, 0));
    const int filled = total > 0 ? clamped * width / total : width;
    const int percent = total > 0 ? clamped * 100 / total : 100;
    char counts[48];
    std::snprintf(counts, sizeof counts, "] %3d%% %d/%d records", percent, clamped, total);
    return "[" + std::string(static_cast<size_t>(filled), '#') +
           std::string(static_cast<size_t>(width - filled), '-') + counts;
}

std::string RecordSummary(const RmlLog& log) {
    std::vector<std::pair<std::string, std::string>> rows = {{"item", "minimum / mean / maximum"}};
    for (size_t i = 0; i < log.items.size(); ++i) {
        double low = std::numeric_limits<double>::infinity();
        double high = -low;
        double sum = 0.0;
        int count = 0;
        for (const auto& record : log.records) {
            const double value = record[i];
            if (!std::isnan(value)) {
                low = std::min(low, value);
                high = std::max(high, value);
                sum += value;
                ++count;
            }
        }
        rows.emplace_back(
            ItemColumnName(log.items[i].id),
            count == 0 ? "-" : Fixed(low) + " / " + Fixed(sum / count) + " / " + Fixed(high));
    }
    return RenderPairs(rows);
}

} // namespace orvex_host
