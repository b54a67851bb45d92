#pragma once
// One direction of the relay with prediction: each new local-state sample goes to a pose predictor, and
// a call writes the predicted pose when the row schedule says it is worth writing. Without prediction
// it writes the sample as it is, like relay_local_state, when it changed.

#include "tools/session/link/local_state_watch.hpp"
#include "tools/session/link/relay_link.hpp"
#include "tools/session/link/row_predictor.hpp"
#include "tools/session/link/row_schedule.hpp"

#include <chrono>
#include <filesystem>
#include <optional>

namespace korvath::session_tool {

class PredictingLink {
public:
    PredictingLink(RelayLink link, bool predict, PredictorSettings settings = {})
        : m_link(std::move(link))
        , m_predict(predict)
        , m_source(m_link)
        , m_row(m_link.toGameDir, settings) {}

    // `fileNow` on the file clock (for the file's age), `now` on the relay's monotonic clock. A sample
    // counts as new when its sequence number changed, or, without stamps, when the file was rewritten;
    // it is timed by its stamp, or else by the file's last write. Relayed also when the row written
    // before still stands.
    auto step(std::filesystem::file_time_type fileNow, std::chrono::nanoseconds now) -> RelayOutcome;

    auto link() const -> const RelayLink& { return m_link; }
    auto predicts() const -> bool { return m_predict; }

private:
    auto write_when_due(const PlayerPose& pose, std::chrono::nanoseconds now) -> RelayOutcome;

    RelayLink m_link;
    bool m_predict;
    LocalStateWatch m_source;
    RowPredictor m_row;
    RowSchedule m_schedule;
    std::optional<SampleStamp> m_lastStamp;
    std::optional<std::filesystem::file_time_type> m_lastWrite;
};

} // namespace korvath::session_tool
