#include "streamstatistics.h"

#include <QtGlobal>

#include <cmath>

StreamStatistics::StreamStatistics(double nominalRate) : m_nominalRate(nominalRate) {}

void StreamStatistics::add(unsigned long long frameNumber, double timestamp, bool hasPicture)
{
    if (!hasPicture) {
        ++m_empty;
        return;
    }
    ++m_frames;
    // The first frame opens the first window; only the frames after it
    // count against the time the window spans.
    if (m_started)
        ++m_windowFrames;
    if (!m_started) {
        m_started = true;
        m_firstTime = m_windowStart = timestamp;
    } else if (m_renumbered) {
        m_renumbered = false;
        const double away = qMax(0.0, timestamp - m_lastTime);
        ++m_outages;
        m_outageSeconds += away;
        m_lostInOutages += qMax(0LL, qint64(std::llround(away * m_nominalRate)) - 1);
    } else {
        if (frameNumber > m_lastNumber + 1) {
            m_missing += qint64(frameNumber - m_lastNumber - 1);
            m_windowMissing += qint64(frameNumber - m_lastNumber - 1);
            ++m_gaps;
        }
        const double interval = timestamp - m_lastTime;
        if (m_nominalRate > 0 && interval > 1.5 / m_nominalRate) {
            ++m_late;
            ++m_windowLate;
        }
        m_minInterval = m_intervals == 0 ? interval : qMin(m_minInterval, interval);
        m_maxInterval = m_intervals == 0 ? interval : qMax(m_maxInterval, interval);
        m_sumInterval += interval;
        m_sumSquares += interval * interval;
        ++m_intervals;
    }
    m_lastNumber = frameNumber;
    m_lastTime = timestamp;
}

void StreamStatistics::restartNumbering()
{
    m_renumbered = m_started;
}

void StreamStatistics::startWindow()
{
    m_windowFrames = 0;
    m_windowMissing = 0;
    m_windowLate = 0;
    m_windowStart = m_lastTime;
}

double StreamStatistics::deliveredRate() const
{
    // Rate over the time the frames span, the camera's time away left out:
    // n frames make n - 1 intervals.
    const double span = m_lastTime - m_firstTime - m_outageSeconds;
    return m_intervals > 0 && span > 0 ? double(m_intervals) / span : 0.0;
}

double StreamStatistics::windowRate() const
{
    const double span = m_lastTime - m_windowStart;
    return span > 0 ? double(m_windowFrames) / span : 0.0;
}

QString StreamStatistics::summary() const
{
    const double mean = m_intervals > 0 ? m_sumInterval / double(m_intervals) : 0.0;
    const double spread =
        m_intervals > 1 ? std::sqrt(qMax(0.0, m_sumSquares / double(m_intervals) - mean * mean)) : 0.0;
    return QString("frames:        %1 with a picture, %2 empty\n"
                   "rate:          %3 fps delivered, %4 fps nominal (%5%)\n"
                   "frame numbers: %6 missing in %7 gaps\n"
                   "late frames:   %8 (more than 1.5 periods after the one before)\n"
                   "intervals:     min %9 ms, mean %10 ms, max %11 ms, std dev %12 ms\n"
                   "outages:       %13, %14 s without the camera, about %15 frames lost\n")
        .arg(m_frames)
        .arg(m_empty)
        .arg(deliveredRate(), 0, 'f', 2)
        .arg(m_nominalRate, 0, 'f', 2)
        .arg(m_nominalRate > 0 ? 100.0 * deliveredRate() / m_nominalRate : 0.0, 0, 'f', 1)
        .arg(m_missing)
        .arg(m_gaps)
        .arg(m_late)
        .arg(m_minInterval * 1000.0, 0, 'f', 2)
        .arg(mean * 1000.0, 0, 'f', 2)
        .arg(m_maxInterval * 1000.0, 0, 'f', 2)
        .arg(spread * 1000.0, 0, 'f', 2)
        .arg(m_outages)
        .arg(m_outageSeconds, 0, 'f', 1)
        .arg(m_lostInOutages);
}

QString StreamStatistics::windowLine(double elapsedSeconds) const
{
    return QString("%1 s: %2 fps (nominal %3), %4 missing, %5 late, %6 frames in all")
        .arg(elapsedSeconds, 0, 'f', 0)
        .arg(windowRate(), 0, 'f', 2)
        .arg(m_nominalRate, 0, 'f', 2)
        .arg(m_windowMissing)
        .arg(m_windowLate)
        .arg(m_frames);
}

QJsonObject StreamStatistics::toJson() const
{
    const double mean = m_intervals > 0 ? m_sumInterval / double(m_intervals) : 0.0;
    const double spread =
        m_intervals > 1 ? std::sqrt(qMax(0.0, m_sumSquares / double(m_intervals) - mean * mean)) : 0.0;
    return QJsonObject{{"frames", double(m_frames)},
                       {"empty_frames", double(m_empty)},
                       {"delivered_fps", deliveredRate()},
                       {"nominal_fps", m_nominalRate},
                       {"missing_frames", double(m_missing)},
                       {"gaps", double(m_gaps)},
                       {"late_frames", double(m_late)},
                       {"interval_min_ms", m_minInterval * 1000.0},
                       {"interval_mean_ms", mean * 1000.0},
                       {"interval_max_ms", m_maxInterval * 1000.0},
                       {"interval_stddev_ms", spread * 1000.0},
                       {"outages", double(m_outages)},
                       {"outage_seconds", m_outageSeconds},
                       {"frames_lost_in_outages", double(m_lostInOutages)}};
}
