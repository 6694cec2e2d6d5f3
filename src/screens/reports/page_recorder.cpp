#include "screens/reports/page_recorder.h"

#include "render/paged.h"

#include <QPaintEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPrinter>

namespace {

struct Stopped {};

// Passes everything painted on the page to a painter over the page's picture: QPicture keeps
// what was drawn, not pixels, so the page stays sharp at any zoom and small in memory.
class PictureEngine : public QPaintEngine {
public:
    explicit PictureEngine(std::function<bool(QPicture)> done)
        : QPaintEngine(QPaintEngine::AllFeatures), done_(std::move(done)) {}

    bool begin(QPaintDevice*) override {
        startPage();
        return true;
    }
    bool end() override {
        endPage();
        return true;
    }
    // A new page goes on with the painter as the last one left it.
    void newPage() {
        const QPainter& o = out_;
        const QPen pen = o.pen();
        const QBrush brush = o.brush(), background = o.background();
        const QPoint brushOrigin = o.brushOrigin();
        const Qt::BGMode backgroundMode = o.backgroundMode();
        const QFont font = o.font();
        const QTransform transform = o.worldTransform();
        const QPainter::RenderHints hints = o.renderHints();
        const qreal opacity = o.opacity();
        const bool clipping = o.hasClipping();
        const QPainterPath clip = o.clipPath();
        if (!endPage())
            throw Stopped{};
        startPage();
        out_.setPen(pen);
        out_.setBrush(brush);
        out_.setBackground(background);
        out_.setBrushOrigin(brushOrigin);
        out_.setBackgroundMode(backgroundMode);
        out_.setFont(font);
        out_.setWorldTransform(transform);
        out_.setRenderHints(hints);
        out_.setOpacity(opacity);
        if (clipping)
            out_.setClipPath(clip);
    }
    void updateState(const QPaintEngineState& s) override {
        const auto dirty = [&](DirtyFlag f) { return bool(s.state() & f); };
        if (dirty(DirtyPen))
            out_.setPen(s.pen());
        if (dirty(DirtyBrush))
            out_.setBrush(s.brush());
        if (dirty(DirtyBrushOrigin))
            out_.setBrushOrigin(s.brushOrigin());
        if (dirty(DirtyBackground))
            out_.setBackground(s.backgroundBrush());
        if (dirty(DirtyBackgroundMode))
            out_.setBackgroundMode(s.backgroundMode());
        if (dirty(DirtyFont))
            out_.setFont(s.font());
        // The transform before the clip: a clip is given in the coordinates it was set in.
        if (dirty(DirtyTransform))
            out_.setWorldTransform(s.transform());
        if (dirty(DirtyHints))
            out_.setRenderHints(s.renderHints());
        if (dirty(DirtyOpacity))
            out_.setOpacity(s.opacity());
        if (dirty(DirtyCompositionMode))
            out_.setCompositionMode(s.compositionMode());
        if (dirty(DirtyClipPath))
            out_.setClipPath(s.clipPath(), s.clipOperation());
        if (dirty(DirtyClipRegion))
            out_.setClipRegion(s.clipRegion(), s.clipOperation());
        if (dirty(DirtyClipEnabled))
            out_.setClipping(s.isClipEnabled());
    }

    void drawPixmap(const QRectF& r, const QPixmap& pm, const QRectF& sr) override {
        out_.drawPixmap(r, pm, sr);
    }
    void drawImage(const QRectF& r, const QImage& image, const QRectF& sr,
                   Qt::ImageConversionFlags flags) override {
        out_.drawImage(r, image, sr, flags);
    }
    void drawTextItem(const QPointF& p, const QTextItem& item) override {
        out_.drawTextItem(p, item);
    }
    void drawPath(const QPainterPath& path) override { out_.drawPath(path); }
    void drawRects(const QRectF* rects, int count) override { out_.drawRects(rects, count); }
    void drawLines(const QLineF* lines, int count) override { out_.drawLines(lines, count); }
    void drawEllipse(const QRectF& r) override { out_.drawEllipse(r); }
    void drawPoints(const QPointF* points, int count) override { out_.drawPoints(points, count); }
    void drawPolygon(const QPointF* points, int count, PolygonDrawMode mode) override {
        if (mode == PolylineMode)
            out_.drawPolyline(points, count);
        else
            out_.drawPolygon(points, count,
                             mode == WindingMode ? Qt::WindingFill : Qt::OddEvenFill);
    }
    void drawTiledPixmap(const QRectF& r, const QPixmap& pm, const QPointF& at) override {
        out_.drawTiledPixmap(r, pm, at);
    }
    Type type() const override { return QPaintEngine::User; }

private:
    void startPage() { out_.begin(&picture_); }
    // Gives false when no more pages are wanted.
    bool endPage() {
        if (!out_.isActive())
            return false; // stopped: the printing painter ends as it unwinds
        out_.end();
        return done_(std::exchange(picture_, QPicture()));
    }

    std::function<bool(QPicture)> done_;
    QPicture picture_;
    QPainter out_;
};

// A printer that prints nothing: it has the pages, and so the measures, of the printed report,
// and hands each page's picture on.
class PageRecorder : public QPrinter {
public:
    explicit PageRecorder(std::function<bool(QPicture)> page)
        : QPrinter(QPrinter::HighResolution), engine_(std::move(page)) {
        setOutputFormat(QPrinter::PdfFormat);
    }
    QPaintEngine* paintEngine() const override { return &engine_; }
    bool newPage() override {
        engine_.newPage();
        return true;
    }

private:
    mutable PictureEngine engine_;
};

} // namespace

bool recordPages(QTextDocument& doc, bool landscape, const std::function<bool(QPicture)>& page,
                 const std::function<bool()>& goOn) {
    bool stopped = false;
    // The page under way when the layout stops is ended unpainted: it is not handed on.
    PageRecorder recorder([&](QPicture picture) { return !stopped && page(std::move(picture)); });
    tw::reports::setUpPage(recorder, landscape);
    tw::reports::PageProgress progress;
    if (goOn)
        progress = [&](int, int) { return !(stopped = !goOn()); };
    try {
        return tw::reports::printDocument(doc, recorder, progress) > 0;
    } catch (const Stopped&) {
        return false;
    }
}

std::optional<QPicture> recordFirstPage(QTextDocument& doc, bool landscape) {
    std::optional<QPicture> first;
    // Stopped after the first page: a page followed it.
    if (recordPages(doc, landscape, [&](QPicture page) {
            first = std::move(page);
            return false;
        }))
        return std::nullopt;
    return first;
}
