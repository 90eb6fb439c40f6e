#pragma once

#include <QJsonObject>
#include <QString>

// What a stream delivered against what its interval promises: frames with
// a picture, frames without one, gaps in the frame numbers, frames later
// than one and a half periods after the one before, and the spread of the
// intervals between time stamps.
class StreamStatistics
{
public:
    explicit StreamStatistics(double nominalRate);

    // One frame as taken from the stream; timestamps in seconds.
    void add(unsigned long long frameNumber, double timestamp, bool hasPicture);
    // The counts of a second closed by watch output start again; the spread
    // and totals keep running.
    void startWindow();
    // The camera was away (unplugged and back): the next frame starts a new
    // numbering, and the time until it counts as an outage, its frames at
    // the nominal rate as lost, not as a gap or a late frame.
    void restartNumbering();

    long long frames() const { return m_frames; }
    long long emptyFrames() const { return m_empty; }
    long long missing() const { return m_missing; }
    long long gaps() const { return m_gaps; }
    long long late() const { return m_late; }
    long long outages() const { return m_outages; }
    double outageSeconds() const { return m_outageSeconds; }
    long long lostInOutages() const { return m_lostInOutages; }
    double deliveredRate() const;
    double windowRate() const;

    QString summary() const;
    QString windowLine(double elapsedSeconds) const;
    QJsonObject toJson() const;

private:
    double m_nominalRate;
    long long m_frames = 0;
    long long m_empty = 0;
    long long m_missing = 0;
    long long m_gaps = 0;
    long long m_late = 0;
    bool m_started = false;
    bool m_renumbered = false;
    long long m_outages = 0;
    double m_outageSeconds = 0;
    long long m_lostInOutages = 0;
    unsigned long long m_lastNumber = 0;
    double m_firstTime = 0;
    double m_lastTime = 0;
    double m_minInterval = 0;
    double m_maxInterval = 0;
    double m_sumInterval = 0;
    double m_sumSquares = 0;
    long long m_intervals = 0;
    long long m_windowFrames = 0;
    double m_windowStart = 0;
    long long m_windowMissing = 0;
    long long m_windowLate = 0;
};
