#include "tools/gpsdr-demo/TrackSvg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/common/GpxTrack.h"
#include "tools/gpsdr-demo/TrackGeometry.h"

namespace {

// Picture layout, pixels: caption band, plot frame, axis labels, legend band.
const double kWidth = 900, kHeight = 750;
const double kLeft = 80, kTop = 90, kRight = 860, kBottom = 590;
const double kLegendTop = 668, kLegendRow = 24, kLegendColumn = 270;
const double kMinExtent = 50;  // metres shown at least, so that a standing vehicle is no blow-up
const double kCharWidth = 0.62;  // of the font size, generous for sans-serif digits

struct Box {
    double x0, y0, x1, y1;
    bool Overlaps(const Box& o) const { return x0 < o.x1 && o.x0 < x1 && y0 < o.y1 && o.y0 < y1; }
    bool Contains(double x, double y) const { return x >= x0 && x <= x1 && y >= y0 && y <= y1; }
};

// Plane metres (east and north of the start) to pixels: one scale for both axes, north up.
struct Viewport {
    double scale = 1, cx = 0, cy = 0;
    double X(const PlanePoint& p) const { return (kLeft + kRight) / 2 + (p.x - cx) * scale; }
    double Y(const PlanePoint& p) const { return (kTop + kBottom) / 2 - (p.y - cy) * scale; }
    double East(double px) const { return cx + (px - (kLeft + kRight) / 2) / scale; }
    double North(double py) const { return cy - (py - (kTop + kBottom) / 2) / scale; }
};

Viewport Fit(const std::vector<PlanePoint>& all)
{
    double minX = 0, maxX = 0, minY = 0, maxY = 0;
    for (const PlanePoint& p : all) {
        minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
    }
    Viewport v;
    const double w = std::max(maxX - minX, kMinExtent), h = std::max(maxY - minY, kMinExtent);
    v.scale = 0.9 * std::min((kRight - kLeft) / w, (kBottom - kTop) / h);
    v.cx = (minX + maxX) / 2;
    v.cy = (minY + maxY) / 2;
    return v;
}

// 1, 2 or 5 times a power of ten, so that about six ticks span `span`.
double TickStep(double span)
{
    const double raw = span / 6, decade = std::pow(10, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 5.0})
        if (m * decade >= raw) return m * decade;
    return 10 * decade;
}

void Axes(FILE* f, const Viewport& v)
{
    std::fprintf(f, "  <rect x=\"%.0f\" y=\"%.0f\" width=\"%.0f\" height=\"%.0f\" fill=\"none\" stroke=\"#444\"/>\n",
                 kLeft, kTop, kRight - kLeft, kBottom - kTop);
    const double step = TickStep((kRight - kLeft) / v.scale);
    for (double e = std::ceil(v.East(kLeft) / step) * step; e <= v.East(kRight); e += step) {
        const double x = v.X({e, 0});
        std::fprintf(f,
                     "  <line x1=\"%.1f\" y1=\"%.0f\" x2=\"%.1f\" y2=\"%.0f\" stroke=\"#ddd\"/>\n"
                     "  <line x1=\"%.1f\" y1=\"%.0f\" x2=\"%.1f\" y2=\"%.0f\" stroke=\"#444\"/>\n"
                     "  <text x=\"%.1f\" y=\"%.0f\" font-size=\"11\" text-anchor=\"middle\">%g</text>\n",
                     x, kTop, x, kBottom, x, kBottom, x, kBottom + 5, x, kBottom + 18, e);
    }
    for (double n = std::ceil(v.North(kBottom) / step) * step; n <= v.North(kTop); n += step) {
        const double y = v.Y({0, n});
        std::fprintf(f,
                     "  <line x1=\"%.0f\" y1=\"%.1f\" x2=\"%.0f\" y2=\"%.1f\" stroke=\"#ddd\"/>\n"
                     "  <line x1=\"%.0f\" y1=\"%.1f\" x2=\"%.0f\" y2=\"%.1f\" stroke=\"#444\"/>\n"
                     "  <text x=\"%.0f\" y=\"%.1f\" font-size=\"11\" text-anchor=\"end\">%g</text>\n",
                     kLeft, y, kRight, y, kLeft - 5, y, kLeft, y, kLeft - 8, y + 4, n);
    }
    std::fprintf(f,
                 "  <text x=\"%.0f\" y=\"%.0f\" font-size=\"12\" text-anchor=\"middle\">metres east of the start</text>\n"
                 "  <text x=\"0\" y=\"0\" font-size=\"12\" text-anchor=\"middle\" "
                 "transform=\"translate(22 %.0f) rotate(-90)\">metres north of the start</text>\n",
                 (kLeft + kRight) / 2, kBottom + 38, (kTop + kBottom) / 2);
}

// The mark of each kind, at (x, y): in the plot and as the legend's sample.
void Mark(FILE* f, const char* kind, double x, double y, const char* cls)
{
    const std::string k = kind;
    if (k == "gps")
        std::fprintf(f, "  <circle class=\"%s\" cx=\"%.1f\" cy=\"%.1f\" r=\"4\" fill=\"#d62728\"/>\n", cls, x, y);
    else if (k == "dr")
        std::fprintf(f,
                     "  <rect class=\"%s\" x=\"%.1f\" y=\"%.1f\" width=\"8\" height=\"8\" fill=\"white\" "
                     "stroke=\"#ff7f0e\" stroke-width=\"2\"/>\n",
                     cls, x - 4, y - 4);
    else if (k == "unmatched")
        std::fprintf(f,
                     "  <circle class=\"%s\" cx=\"%.1f\" cy=\"%.1f\" r=\"4\" fill=\"none\" stroke=\"#777\" "
                     "stroke-width=\"1.5\"/>\n",
                     cls, x, y);
    else if (k == "start")
        std::fprintf(f, "  <path class=\"%s\" d=\"M%.1f %.1f l6 10 h-12 z\" fill=\"#2ca02c\"/>\n", cls, x, y - 6);
}

struct LegendEntry {
    const char* kind;
    const char* text;
};

const LegendEntry kLegend[] = {
    {"truth", "truth through the offset transform"},
    {"gps", "received by Java, GPS fix"},
    {"dr", "received by Java, dead reckoning"},
    {"unmatched", "received, no truth of that time"},
    {"link", "from a position to its truth"},
    {"start", "start of the drive"},
    {"time", "UTC time of a position"},
};

void Legend(FILE* f)
{
    int i = 0;
    for (const LegendEntry& e : kLegend) {
        const double x = kLeft + kLegendColumn * (i % 3), y = kLegendTop + kLegendRow * (i / 3);
        const std::string cls = std::string("legend-") + e.kind, kind = e.kind;
        if (kind == "truth" || kind == "link")
            std::fprintf(f, "  <line class=\"%s\" x1=\"%.0f\" y1=\"%.0f\" x2=\"%.0f\" y2=\"%.0f\" %s/>\n", cls.c_str(),
                         x, y, x + 40, y,
                         kind == "truth" ? "stroke=\"#1f77b4\" stroke-width=\"2\""
                                         : "stroke=\"#999\" stroke-dasharray=\"4 3\"");
        else if (kind == "time")
            std::fprintf(f, "  <text class=\"%s\" x=\"%.0f\" y=\"%.0f\" font-size=\"10\" fill=\"#555\">hh:mm:ss</text>\n",
                         cls.c_str(), x, y + 4);
        else
            Mark(f, e.kind, x + 20, y, cls.c_str());
        std::fprintf(f, "  <text x=\"%.0f\" y=\"%.0f\" font-size=\"12\">%s</text>\n", x + 56, y + 4, e.text);
        ++i;
    }
}

const char* KindOf(const DemoCall& d, const std::vector<TruthCycle>& truth)
{
    if (d.cycle < 0) return "unmatched";
    return truth[static_cast<size_t>(d.cycle)].fix == "dr" ? "dr" : "gps";
}

}  // namespace

bool WriteTrackSvg(const std::string& path, const std::vector<TruthCycle>& truth, const std::vector<DemoCall>& calls,
                   const std::vector<std::string>& caption)
{
    // Everything in the offset frame, as metres from the start of the drive.
    GpxTrack line{"", {}}, marks{"", {}};
    for (const TruthCycle& t : truth)
        if (t.hasPos) line.points.push_back({t.offLat, t.offLon, 0, ""});
    std::vector<DemoCall> placed;  // a call without a position has nothing to draw
    for (const DemoCall& d : calls)
        if (HasPosition(d.call)) placed.push_back(d);
    for (const DemoCall& d : placed) marks.points.push_back({d.call.lat, d.call.lon, 0, ""});
    const LocalProjection proj({&line, &marks});
    const PlanePoint origin = line.points.empty() ? PlanePoint{0, 0} : proj.ToPlane(line.points[0]);
    auto plane = [&](double lat, double lon) {
        const PlanePoint p = proj.ToPlane({lat, lon, 0, ""});
        return PlanePoint{p.x - origin.x, p.y - origin.y};
    };
    std::vector<PlanePoint> all;
    for (const GpxPoint& p : line.points) all.push_back(plane(p.lat, p.lon));
    for (const GpxPoint& p : marks.points) all.push_back(plane(p.lat, p.lon));
    const Viewport v = Fit(all);

    FILE* f = std::fopen(path.c_str(), "w");
    if (f == nullptr) return false;
    std::fprintf(f,
                 "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" viewBox=\"0 0 %.0f %.0f\" "
                 "font-family=\"sans-serif\">\n  <rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n"
                 "  <clipPath id=\"plot\"><rect x=\"%.0f\" y=\"%.0f\" width=\"%.0f\" height=\"%.0f\"/></clipPath>\n",
                 kWidth, kHeight, kWidth, kHeight, kLeft, kTop, kRight - kLeft, kBottom - kTop);
    for (size_t i = 0; i < caption.size(); ++i)
        std::fprintf(f, "  <text x=\"%.0f\" y=\"%zu\" font-size=\"%d\">%s</text>\n", kLeft, 26 + 20 * i,
                     i ? 12 : 15, caption[i].c_str());
    Axes(f, v);

    std::fprintf(f, "  <g clip-path=\"url(#plot)\">\n");
    for (const DemoCall& d : placed) {
        if (d.cycle < 0) continue;
        const TruthCycle& t = truth[static_cast<size_t>(d.cycle)];
        const PlanePoint a = plane(d.call.lat, d.call.lon), b = plane(t.offLat, t.offLon);
        std::fprintf(f,
                     "  <line class=\"link\" x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#999\" "
                     "stroke-dasharray=\"4 3\"/>\n",
                     v.X(a), v.Y(a), v.X(b), v.Y(b));
    }
    if (!line.points.empty()) {
        std::fprintf(f, "  <polyline class=\"truth\" fill=\"none\" stroke=\"#1f77b4\" stroke-width=\"2\" points=\"");
        for (const GpxPoint& p : line.points) std::fprintf(f, "%.1f,%.1f ", v.X(plane(p.lat, p.lon)), v.Y(plane(p.lat, p.lon)));
        std::fprintf(f, "\"/>\n");
        Mark(f, "start", v.X({0, 0}), v.Y({0, 0}), "start");
    }
    std::vector<Box> taken = {{v.X({0, 0}) - 7, v.Y({0, 0}) - 7, v.X({0, 0}) + 7, v.Y({0, 0}) + 5}};
    for (const DemoCall& d : placed) {
        const PlanePoint p = plane(d.call.lat, d.call.lon);
        Mark(f, KindOf(d, truth), v.X(p), v.Y(p), KindOf(d, truth));
        taken.push_back({v.X(p) - 5, v.Y(p) - 5, v.X(p) + 5, v.Y(p) + 5});
    }
    // Time labels where they overlap no mark and no other label: beside the point on the side
    // that is free, or not at all.
    const Box frame{kLeft, kTop, kRight, kBottom};
    for (const DemoCall& d : placed) {
        const std::string iso = IsoTime(d.call.time);
        if (iso.empty()) continue;
        const PlanePoint p = plane(d.call.lat, d.call.lon);
        const double w = 8 * 10 * kCharWidth, h = 10;
        for (const auto& off : {std::make_pair(7.0, -7.0), std::make_pair(7.0, 7.0 + h), std::make_pair(-7.0 - w, -7.0),
                                std::make_pair(-7.0 - w, 7.0 + h)}) {
            const Box b{v.X(p) + off.first, v.Y(p) + off.second - h, v.X(p) + off.first + w, v.Y(p) + off.second};
            const bool free = std::none_of(taken.begin(), taken.end(), [&](const Box& t) { return t.Overlaps(b); });
            if (!free || !frame.Contains(b.x0, b.y0) || !frame.Contains(b.x1, b.y1)) continue;
            std::fprintf(f, "  <text class=\"time\" x=\"%.1f\" y=\"%.1f\" font-size=\"10\" fill=\"#555\">%s</text>\n", b.x0,
                         b.y1 - 1, iso.substr(11, 8).c_str());
            taken.push_back(b);
            break;
        }
    }
    std::fprintf(f, "  </g>\n");
    Legend(f);
    std::fprintf(f, "</svg>\n");
    return std::fclose(f) == 0;
}
