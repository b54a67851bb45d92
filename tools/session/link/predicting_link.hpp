#pragma once
// One direction of the relay with prediction: each new local-state sample goes to a pose predictor,
// and every call writes the predicted pose, so the row the mod reads is never older than the relay's
// period. Without prediction it writes the sample as it is, like relay_local_state.

#include "tools/session/link/relay_link.hpp"
#include "tools/session/link/row_predictor.hpp"

#include <chrono>
#include <filesystem>
#include <optional>

namespace korvath::session_tool {

class PredictingLink {
public:
    PredictingLink(RelayLink link, bool predict, PredictorSettings settings = {})
        : m_link(std::move(link))
        , m_predict(predict)
        , m_row(m_link.toGameDir, settings) {}

    // `fileNow` on the file clock (for the file's age), `now` on the relay's monotonic clock. A sample
    // counts as new when its sequence number changed, or, without stamps, when the file was rewritten;
    // it is timed by its stamp, or else by the file's last write.
    auto step(std::filesystem::file_time_type fileNow, std::chrono::nanoseconds now) -> RelayOutcome;

    auto link() const -> const RelayLink& { return m_link; }
    auto predicts() const -> bool { return m_predict; }

private:
    RelayLink m_link;
    bool m_predict;
    RowPredictor m_row;
    std::optional<SampleStamp> m_lastStamp;
    std::optional<std::filesystem::file_time_type> m_lastWrite;
};

} // namespace korvath::session_tool
