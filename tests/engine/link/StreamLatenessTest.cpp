#include "engine/link/StreamLateness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

namespace lumvik::test {

/// A camera and the network between it and this computer. Times are in seconds.
class StreamLatenessTest : public testing::Test {
  protected:
    /// Sends `count` pictures, one every `interval` seconds of the camera's clock.
    void sendPictures(int count, double interval) {
        for (int picture = 0; picture < count; ++picture) {
            const double size = number % keyInterval == 0 ? keySize : 3000 + number % 7 * 100;
            send(size);
            ++number;
            captured += interval;
            stamped += stampInterval.value_or(interval);
            if (reportInterval > 0 && captured - lastReport >= reportInterval)
                sendReport();
        }
    }
    /// Sends one picture, which arrives in packets when the network is free.
    void send(double size) {
        std::uniform_real_distribution<double> jitter(0, longestJitter);
        arrival = std::max(arrival, captured + jitter(random));
        for (double left = size; left > 0; left -= 1400) {
            const double packet = std::min(left, 1400.0);
            arrival += packet / bytesPerSecond;
            lateness.packetArrived(timeStamp(), static_cast<qsizetype>(packet),
                                   hasMarkers && left <= 1400, at(arrival));
        }
        trueLateness = arrival - captured;
        largest = std::max(largest, lateness.lateness().count());
    }
    void sendReport() {
        lastReport = captured;
        lateness.reportArrived(
            static_cast<std::uint64_t>((reportedClock + captured) * 4294967296.0), timeStamp());
    }
    [[nodiscard]] std::uint32_t timeStamp() const {
        return static_cast<std::uint32_t>(static_cast<std::int64_t>(stamped * 90000));
    }
    [[nodiscard]] static StreamLateness::TimePoint at(double seconds) {
        return StreamLateness::TimePoint(
            std::chrono::duration_cast<StreamLateness::Clock::duration>(
                std::chrono::duration<double>(seconds)));
    }
    [[nodiscard]] double measured() const { return lateness.lateness().count(); }

    /// Begins a new stream, with sender reports every `reports` seconds, or without for 0.
    void reset(double reports) {
        lateness = {};
        bytesPerSecond = 10e6;
        reportInterval = reports;
        number = 0;
        arrival = captured;
        lastReport = captured;
        largest = 0;
    }

    StreamLateness lateness;
    std::mt19937 random{7};
    double bytesPerSecond = 10e6;
    double longestJitter = 0.005;
    bool hasMarkers = true;
    int keyInterval = 25;
    double keySize = 40000;
    std::optional<double> stampInterval; // if the stamps do not follow the camera's clock
    double reportInterval = 0;           // 0: no reports
    double reportedClock = 1e9;          // what the camera's clock shows at 0
    int number = 0;
    double captured = 100;  // on the camera's clock
    double stamped = 47000; // in seconds
    double arrival = 0;
    double lastReport = 0;
    double trueLateness = 0;
    double largest = 0; // that was measured
};

TEST_F(StreamLatenessTest, LiveStreamIsNotLate) {
    for (const double interval : {0.04, 0.0667, 0.2, 1.0}) {
        sendPictures(500, interval);
        EXPECT_LT(largest, 0.1) << interval;
    }
}

TEST_F(StreamLatenessTest, JitterIsNotLateness) {
    longestJitter = 0.25;
    sendPictures(3000, 0.04);
    EXPECT_LT(largest, 0.6);
}

TEST_F(StreamLatenessTest, SlowNetworkMakesItLateWithoutReports) {
    sendPictures(300, 0.04);
    bytesPerSecond = 60000; // the stream has about 120000
    sendPictures(150, 0.04);
    EXPECT_GT(trueLateness, 3);
    EXPECT_NEAR(measured(), trueLateness, 0.4);
    bytesPerSecond = 10e6;
    sendPictures(100, 0.04);
    EXPECT_LT(measured(), 0.1);
}

TEST_F(StreamLatenessTest, SlowNetworkIsNoticedBeforeTheLatenessReachesTwoSeconds) {
    for (const double interval : {0.0, 5.0}) {
        reset(interval);
        sendPictures(300, 0.04);
        bytesPerSecond = 80000;
        while (trueLateness < 2)
            sendPictures(1, 0.04);
        EXPECT_GT(measured(), 1.5) << "with reports every " << interval << " s";
    }
}

TEST_F(StreamLatenessTest, SlowNetworkMakesItLateWithReports) {
    reportInterval = 5;
    sendPictures(300, 0.04);
    bytesPerSecond = 60000;
    sendPictures(150, 0.04);
    EXPECT_NEAR(measured(), trueLateness, 0.2);
}

TEST_F(StreamLatenessTest, NominalRateIsNotLateness) {
    for (const double reports : {0.0, 5.0}) {
        reset(reports);
        stampInterval = 1 / 15.0;
        sendPictures(14 * 600, 1 / 14.2);
        // Until the second report, the rate is not known; without a queue, nothing is believed.
        EXPECT_LT(largest, 0.3) << "with reports every " << reports << " s";
    }
}

TEST_F(StreamLatenessTest, NominalRateAndASlowNetworkAreToldApart) {
    reportInterval = 5;
    stampInterval = 1 / 15.0;
    sendPictures(14 * 60, 1 / 14.2);
    EXPECT_LT(largest, 0.3);
    bytesPerSecond = 30000;
    sendPictures(14 * 6, 1 / 14.2);
    EXPECT_GT(trueLateness, 2);
    EXPECT_NEAR(measured(), trueLateness, 0.3);
}

TEST_F(StreamLatenessTest, StandstillOfTheNetworkMakesItLateUntilItHasCaughtUp) {
    sendPictures(300, 0.04);
    arrival += 3;
    sendPictures(1, 0.04);
    EXPECT_NEAR(measured(), 3, 0.2);
    sendPictures(500, 0.04);
    EXPECT_LT(trueLateness, 0.1);
    EXPECT_LT(measured(), 0.1);
}

// The engine shows a picture when its end arrives, perhaps before the next one begins.
TEST_F(StreamLatenessTest, EndThatArrivesMuchLaterThanItsBeginningMakesThePictureLate) {
    sendPictures(50, 0.04);
    const auto next = static_cast<std::uint32_t>(timeStamp() + 3600);
    lateness.packetArrived(next, 1400, false, at(captured));
    lateness.packetArrived(next, 1400, false, at(captured + 3));
    EXPECT_LT(measured(), 0.1) << "the previous picture is still on the screen";
    EXPECT_NEAR(lateness.suspectedLateness().count(), 3, 0.1);
    lateness.packetArrived(next, 1400, true, at(captured + 3));
    EXPECT_NEAR(measured(), 3, 0.1);
    lateness.packetArrived(next + 3600, 1400, true, at(captured + 3.01));
    EXPECT_NEAR(measured(), 3, 0.1) << "the delay is counted twice, or forgotten";
}

// A camera may leave out what it could not send during a pause.
TEST_F(StreamLatenessTest, PictureOnTheScreenIsLateUntilTheNextOneIsComplete) {
    sendPictures(50, 0.04);
    const auto old = static_cast<std::uint32_t>(timeStamp() + 3600);
    lateness.packetArrived(old, 1400, true, at(captured + 3));
    const auto current = static_cast<std::uint32_t>(old + 3 * 90000);
    lateness.packetArrived(current, 1400, false, at(captured + 3.01));
    EXPECT_NEAR(measured(), 3, 0.1);
    lateness.packetArrived(current, 1400, true, at(captured + 3.06));
    EXPECT_LT(measured(), 0.2);
}

TEST_F(StreamLatenessTest, PictureWithoutAMarkerEndsWhenTheNextOneBegins) {
    hasMarkers = false;
    sendPictures(300, 0.04);
    arrival += 3;
    sendPictures(2, 0.04);
    EXPECT_NEAR(measured(), 3, 0.2);
    sendPictures(500, 0.04);
    EXPECT_LT(measured(), 0.1);
}

// Some cameras spread the packets of a picture over its whole interval.
TEST_F(StreamLatenessTest, PictureThatIsSentSlowlyByASlowCameraIsNotLate) {
    bytesPerSecond = 20000;
    keySize = 30000;
    keyInterval = 1;
    sendPictures(20, 2);
    EXPECT_LT(largest, 0.5);
}

TEST_F(StreamLatenessTest, CameraThatSendsNothingForAWhileIsNotLateAfterwards) {
    sendPictures(300, 0.04);
    captured += 8;
    stamped += 8;
    sendPictures(300, 0.04);
    EXPECT_LT(largest, 0.1);
}

// Some cameras stamp their pictures as if there were no pauses.
TEST_F(StreamLatenessTest, PauseOfACameraThatCountsItsPicturesIsForgotten) {
    for (const int keys :
         {25, 1}) { // with keys only, the sizes do not tell whether there is a queue
        reset(0);
        keyInterval = keys;
        sendPictures(300, 0.04);
        captured += 3;
        sendPictures(50, 0.04);
        EXPECT_NEAR(measured(), 3, 0.3) << "it could be the network";
        sendPictures(keys == 1 ? 1600 : 300, 0.04);
        EXPECT_LT(measured(), 0.2);
    }
}

TEST_F(StreamLatenessTest, SlowCameraThatStampsAFastRateIsNotLateForLong) {
    keyInterval = 4;
    stampInterval = 0.04;
    sendPictures(30, 1);
    for (int minute = 0; minute < 10; ++minute) {
        largest = 0;
        sendPictures(60, 1);
        EXPECT_LT(largest, 0.5) << "in minute " << minute;
    }
}

TEST_F(StreamLatenessTest, NetworkThatStandsStillAgainAndAgainIsLate) {
    sendPictures(300, 0.04);
    for (int times = 0; times < 20; ++times) {
        arrival += 3;
        sendPictures(1, 0.04);
        EXPECT_NEAR(measured(), 3, 0.4);
        sendPictures(200, 0.04);
        EXPECT_LT(measured(), 0.2);
    }
}

TEST_F(StreamLatenessTest, NetworkThatCannotCatchUpStaysLate) {
    sendPictures(300, 0.04);
    arrival += 4;
    bytesPerSecond = 118000; // as much as the stream has
    sendPictures(1500, 0.04);
    EXPECT_GT(trueLateness, 3);
    EXPECT_NEAR(measured(), trueLateness, 1);
}

TEST_F(StreamLatenessTest, ClockThatIsSetIsNotLateness) {
    for (const double jump : {3600.0, -3600.0, 30.0, -30.0}) {
        sendPictures(300, 0.04);
        stamped += jump;
        sendPictures(300, 0.04);
        EXPECT_LT(largest, 0.1) << jump;
    }
}

TEST_F(StreamLatenessTest, ClockThatIsSetDoesNotHideLateness) {
    sendPictures(300, 0.04);
    bytesPerSecond = 60000;
    sendPictures(150, 0.04);
    stamped += 3600;
    sendPictures(2, 0.04);
    EXPECT_NEAR(measured(), trueLateness, 0.5);
}

TEST_F(StreamLatenessTest, StepOfTheCamerasClockIsNotLateness) {
    for (const double step : {-0.4, -2.0, -20.0, 0.4, 30.0, 1000.0}) {
        for (const int pictures : {100, 500, 1500}) {
            reset(5);
            sendPictures(pictures, 0.04);
            reportedClock += step;
            sendPictures(3000, 0.04);
            EXPECT_LT(largest, 0.7) << step << " s after " << pictures << " pictures";
            EXPECT_LT(measured(), 0.2) << step << " s after " << pictures << " pictures";
        }
    }
}

TEST_F(StreamLatenessTest, StepOfTheCamerasClockDoesNotHideLateness) {
    for (const double step : {-20.0, 30.0, 1000.0}) {
        reset(5);
        sendPictures(1500, 0.04);
        reportedClock += step;
        sendPictures(500, 0.04);
        bytesPerSecond = 60000;
        sendPictures(150, 0.04);
        EXPECT_NEAR(measured(), trueLateness, 0.4) << step;
    }
}

TEST_F(StreamLatenessTest, TimeStampsWrapAround) {
    stamped = 4294967296.0 / 90000 - 5;
    sendPictures(500, 0.04);
    EXPECT_LT(largest, 0.1);
}

TEST_F(StreamLatenessTest, DriftOfTheClocksIsNotLateness) {
    for (const double drift : {100e-6, -100e-6}) {
        reset(5);
        stampInterval = 0.2 * (1 - drift);
        sendPictures(5 * 3600 * 3, 0.2);
        EXPECT_LT(largest, 0.2) << drift;
    }
}

TEST_F(StreamLatenessTest, PicturesInAnotherOrderAreNotLate) {
    sendPictures(30, 0.04);
    for (int group = 0; group < 300; ++group) {
        for (const double order : {2, 0, 1}) { // a picture that two others refer to is sent first
            const double begin = stamped;
            stamped = begin + order * 0.04;
            send(3000);
            stamped = begin;
            captured += 0.04;
        }
        stamped += 0.12;
    }
    EXPECT_LT(largest, 0.3);
}

} // namespace lumvik::test
