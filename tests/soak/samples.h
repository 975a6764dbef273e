// What a process has and holds at one moment, from outside of it.
#pragma once

#include <xcb/xcb.h>

#include <string>

namespace orvo::testing {

struct Sample {
    double seconds = 0;
    long residentKilobytes = 0;
    long proportionalKilobytes = 0;
    int files = 0;
    int threads = 0;
    long serverObjects = 0;  // pixmaps, pictures, regions and the like that the server keeps for the process
    int serverClients = 0;   // its connections to the server
    long longestGap = 0;     // milliseconds between two frames since the sample before
    long frames = 0;         // since the start
    long windowFrames = 0;   // those of window targets
};

// connection: any to the server that the process uses.
Sample sampleOf(int pid, xcb_connection_t* connection);

// How much a figure grows in an hour, by the straight line that fits the samples best.
template <typename Samples, typename Figure>
double growthPerHour(const Samples& samples, Figure figure) {
    double n = 0, sumX = 0, sumY = 0, sumXX = 0, sumXY = 0;
    for (const Sample& sample : samples) {
        const double x = sample.seconds / 3600;
        const double y = static_cast<double>(figure(sample));
        n += 1, sumX += x, sumY += y, sumXX += x * x, sumXY += x * y;
    }
    const double spread = n * sumXX - sumX * sumX;
    return spread > 0 ? (n * sumXY - sumX * sumY) / spread : 0;
}

}  // namespace orvo::testing
