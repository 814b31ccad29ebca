#include "Inspection/pictures/flatpicture.h"

#include "Inspection/parts/meshsummary.h"
#include "Inspection/pictures/internal/layout.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

constexpr int longestDrawing = 1200;
constexpr int lineHeight = labelHeight + 4;

/// Lines are drawn this much larger and averaged down, which smooths them.
constexpr int smoothing = 3;

constexpr Colour triangleColour{205, 215, 225};
constexpr Colour flippedColour{240, 130, 40};
constexpr Colour outlineColour{20, 50, 120};
constexpr Colour holeColour{190, 30, 50};

/// Takes flat coordinates to pixels of the enlarged drawing, v upwards.
class Projection {
public:
    explicit Projection(FlatSummary const& flat) : low(flat.low), flatHeight(flat.height) {
        double const longest = std::max(flat.width, flat.height);
        scale = longest > 0.0 && std::isfinite(longest) ? longestDrawing * smoothing / longest : 1.0;
        width = pixels(flat.width);
        height = pixels(flat.height);
    }

    int getWidth() const { return width; }

    int getHeight() const { return height; }

    double x(FlatPoint const& point) const { return border + (point.getU() - low.getU()) * scale; }

    double y(FlatPoint const& point) const {
        return border + (flatHeight - (point.getV() - low.getV())) * scale;
    }

private:
    static constexpr int border = 3 * smoothing;

    FlatPoint low;
    double flatHeight;
    double scale = 1.0;
    int width = 0;
    int height = 0;

    int pixels(double length) const {
        double const whole = std::isfinite(length) ? std::ceil(length * scale) : 0.0;
        return static_cast<int>(std::clamp(whole, 0.0, 1.0 * longestDrawing * smoothing)) + 2 * border;
    }
};

void drawEdge(Image& drawing, Projection const& projection, Edge const& edge, int thickness, Colour colour) {
    FlatPoint const& from = edge.vphiorg2();
    FlatPoint const& to = edge.vphidest2();
    drawing.drawLine(projection.x(from), projection.y(from), projection.x(to), projection.y(to), thickness,
                     colour);
}

void drawTriangle(Image& drawing, Projection const& projection, Triangle const& triangle) {
    for (unsigned long i = 0; i < 3; ++i) {
        drawEdge(drawing, projection, triangle.getEdge(i), 2, triangleColour);
    }
}

void fillTriangle(Image& drawing, Projection const& projection, Triangle const& triangle) {
    double x[3];
    double y[3];
    for (unsigned long i = 0; i < 3; ++i) {
        FlatPoint const& corner = triangle.getEdge(i).vphiorg2();
        x[i] = projection.x(corner);
        y[i] = projection.y(corner);
    }
    drawing.fillTriangle(x, y, flippedColour);
}

void drawLoop(Image& drawing, Projection const& projection, Mesh const& mesh, BoundaryLoop const& loop,
              Colour colour) {
    for (std::size_t i = 0; i < loop.vertices.size(); ++i) {
        std::size_t const next = (i + 1) % loop.vertices.size();
        FlatPoint const& from = mesh.getVertex(loop.vertices[i]).getPoint2D();
        FlatPoint const& to = mesh.getVertex(loop.vertices[next]).getPoint2D();
        drawing.drawLine(projection.x(from), projection.y(from), projection.x(to), projection.y(to),
                         2 * smoothing, colour);
    }
}

Image drawingOf(Mesh const& mesh, std::vector<Triangle*> const& triangles,
                std::vector<BoundaryLoop> const& loops, FlatSummary const& flat) {
    Projection const projection(flat);
    Image drawing(projection.getWidth(), projection.getHeight());
    for (Triangle const* const triangle : triangles) {
        drawTriangle(drawing, projection, *triangle);
    }
    for (Triangle const* const triangle : triangles) {
        if (twiceFlatArea(*triangle) < 0.0) {
            fillTriangle(drawing, projection, *triangle);
        }
    }
    for (std::size_t i = 0; i < loops.size(); ++i) {
        drawLoop(drawing, projection, mesh, loops[i], i == 0 ? outlineColour : holeColour);
    }
    return drawing.reduced(smoothing);
}

std::vector<std::string> captionOf(std::vector<Triangle*> const& triangles,
                                   std::vector<BoundaryLoop> const& loops, FlatSummary const& flat) {
    constexpr int digits = 6;
    return {"flat extent " + toShortText(flat.width, digits) + " x " + toShortText(flat.height, digits),
            std::to_string(triangles.size()) + " triangles, " + std::to_string(flat.flippedCount) +
                " turned over (orange)",
            std::to_string(loops.size()) + " loops: outline blue, holes red"};
}

} // namespace

Image flatPictureOf(Mesh const& mesh, std::string const& title) {
    auto const triangles = trianglesOf(mesh);
    auto const loops = boundaryLoopsOf(mesh);
    FlatSummary const flat = flatSummaryOf(mesh, triangles);
    Image const drawing = drawingOf(mesh, triangles, loops, flat);
    auto const caption = captionOf(triangles, loops, flat);
    int width = std::max(drawing.getWidth(), widthOfText(title) * titleScale);
    for (std::string const& line : caption) {
        width = std::max(width, labelWidth(line));
    }
    int const top = pictureMargin + glyphHeight * titleScale + pictureGap;
    int const captionTop = top + drawing.getHeight() + pictureGap;
    Image image(width + 2 * pictureMargin,
                captionTop + static_cast<int>(caption.size()) * lineHeight + pictureMargin);
    image.drawText(pictureMargin, pictureMargin, title, titleScale, black);
    image.paste(drawing, pictureMargin, top);
    for (std::size_t i = 0; i < caption.size(); ++i) {
        image.drawText(pictureMargin, captionTop + static_cast<int>(i) * lineHeight, caption[i], labelScale,
                       inkColour);
    }
    return image;
}

} // namespace QELT::Inspection
