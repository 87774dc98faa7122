#include "tools/gpsdr-demo/TrackSvg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>


namespace {

const double kWidth = 800, kHeight = 600, kMargin = 60;
const double kMinExtent = 50;  // metres shown at least, so a standing vehicle is not a blow-up
const char kReferenceColour[] = "#1f77b4";
const char kTrackColour[] = "#d62728";

// Plane metres to picture pixels: uniform scale, north up, the tracks' extent centred.
struct Viewport {
    double scale = 1;  // pixels per metre
    double cx = 0, cy = 0;

    explicit Viewport(const std::vector<PlanePoint>& all)
    {
        const PlanePoint first = all.empty() ? PlanePoint{0, 0} : all[0];
        double minX = first.x, maxX = first.x, minY = first.y, maxY = first.y;
        for (const PlanePoint& p : all) {
            minX = std::min(minX, p.x);
            maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y);
            maxY = std::max(maxY, p.y);
        }
        const double w = std::max(maxX - minX, kMinExtent), h = std::max(maxY - minY, kMinExtent);
        scale = std::min((kWidth - 2 * kMargin) / w, (kHeight - 2 * kMargin) / h);
        cx = (minX + maxX) / 2;
        cy = (minY + maxY) / 2;
    }
    double X(const PlanePoint& p) const { return kWidth / 2 + (p.x - cx) * scale; }
    double Y(const PlanePoint& p) const { return kHeight / 2 - (p.y - cy) * scale; }
};

std::string DistanceText(double metres)
{
    char text[32];
    if (metres >= 1000)
        std::snprintf(text, sizeof text, "%g km", metres / 1000);
    else
        std::snprintf(text, sizeof text, "%g m", metres);
    return text;
}

void Polyline(FILE* f, const std::vector<PlanePoint>& pts, const Viewport& v, const char* colour, bool dots)
{
    if (pts.empty()) return;
    std::fprintf(f, "  <polyline fill=\"none\" stroke=\"%s\" stroke-width=\"2\" points=\"", colour);
    for (const PlanePoint& p : pts) std::fprintf(f, "%.1f,%.1f ", v.X(p), v.Y(p));
    std::fprintf(f, "\"/>\n");
    if (dots) {
        for (const PlanePoint& p : pts)
            std::fprintf(f, "  <circle cx=\"%.1f\" cy=\"%.1f\" r=\"3\" fill=\"%s\"/>\n", v.X(p), v.Y(p), colour);
    }
    std::fprintf(f, "  <text x=\"%.1f\" y=\"%.1f\" font-size=\"11\" fill=\"%s\">start</text>\n", v.X(pts[0]) + 6,
                 v.Y(pts[0]) - 6, colour);
}

// The longest 1, 2 or 5 times a power of ten metres not above maxMetres (at least 1 m).
double ScaleBarMetres(double maxMetres)
{
    double best = 1;
    for (double decade = 1; decade <= maxMetres; decade *= 10) {
        for (double step : {1.0, 2.0, 5.0}) {
            if (step * decade <= maxMetres) best = step * decade;
        }
    }
    return best;
}

}  // namespace

bool WriteTrackSvg(const std::string& path, const GpxTrack& reference, const GpxTrack& track,
                   const std::vector<PointPair>& pairs, const std::string& caption)
{
    const LocalProjection proj({&reference, &track});
    std::vector<PlanePoint> ref, trk, all;
    for (const GpxPoint& p : reference.points) ref.push_back(proj.ToPlane(p));
    for (const GpxPoint& p : track.points) trk.push_back(proj.ToPlane(p));
    all = ref;
    all.insert(all.end(), trk.begin(), trk.end());
    const Viewport v(all);

    FILE* f = std::fopen(path.c_str(), "w");
    if (f == nullptr) return false;
    std::fprintf(f,
                 "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" viewBox=\"0 0 %.0f %.0f\" "
                 "font-family=\"sans-serif\">\n  <rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
                 kWidth, kHeight, kWidth, kHeight);
    for (const PointPair& pair : pairs) {
        const PlanePoint a = proj.ToPlane(*pair.track), b = proj.ToPlane(*pair.reference);
        std::fprintf(f,
                     "  <line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#999\" stroke-width=\"1\" "
                     "stroke-dasharray=\"4 3\"/>\n",
                     v.X(a), v.Y(a), v.X(b), v.Y(b));
    }
    Polyline(f, ref, v, kReferenceColour, false);
    Polyline(f, trk, v, kTrackColour, true);

    // Legend, top left.
    const struct {
        const char* colour;
        const std::string& name;
    } legend[] = {{kReferenceColour, reference.name}, {kTrackColour, track.name}};
    for (int i = 0; i < 2; ++i) {
        const double y = 24 + 20 * i;
        std::fprintf(f,
                     "  <line x1=\"16\" y1=\"%.0f\" x2=\"44\" y2=\"%.0f\" stroke=\"%s\" stroke-width=\"3\"/>\n"
                     "  <text x=\"52\" y=\"%.0f\" font-size=\"13\">%s</text>\n",
                     y, y, legend[i].colour, y + 4, legend[i].name.c_str());
    }
    std::fprintf(f, "  <text x=\"16\" y=\"72\" font-size=\"12\" fill=\"#555\">%s</text>\n", caption.c_str());

    // Scale bar, bottom left: at most a quarter of the picture wide.
    const double metres = ScaleBarMetres((kWidth / 4) / v.scale), px = metres * v.scale;
    const double x0 = 20, y0 = kHeight - 24;
    std::fprintf(f,
                 "  <path d=\"M%.1f %.1f v6 h%.1f v-6\" fill=\"none\" stroke=\"black\" stroke-width=\"2\"/>\n"
                 "  <text x=\"%.1f\" y=\"%.1f\" font-size=\"12\">%s</text>\n",
                 x0, y0 - 6, px, x0, y0 + 16, DistanceText(metres).c_str());
    std::fprintf(f, "  <text x=\"%.0f\" y=\"24\" font-size=\"14\" text-anchor=\"end\">N &#8593;</text>\n</svg>\n",
                 kWidth - 16);
    return std::fclose(f) == 0;
}
