#include "ui/qt/StepGraphView.h"

#include <QGraphicsItem>
#include <QKeyEvent>
#include <QPainter>
#include <QStyleOption>
#include <QWheelEvent>
#include <cmath>

#include "ui/StepGraph.h"
#include "ui/qt/StepLook.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

constexpr double kLayerWidth = 230, kPlaceHeight = 78;
constexpr double kBoxWidth = 172, kBoxHeight = 52;
constexpr double kSmallest = 0.01, kLargest = 3;
/// Below this a text is no longer read; large packages begin with what is read with ease.
constexpr double kTextZoom = 0.35, kFirstZoom = 0.75;
constexpr int kFollowMargin = 12;  ///< Around a step that is brought into sight, in pixels.

QPointF ToScene(const StepGraph::Point& point) {
  return {point.x * kLayerWidth, point.y * kPlaceHeight};
}

/// Told apart by line as well as by colour.
QPen PenOf(dts::Precedence on) {
  switch (on) {
    case dts::Precedence::Failure: return {QColor(205, 60, 60), 2, Qt::DashLine};
    case dts::Precedence::Completion: return {QColor(52, 120, 210), 2, Qt::DotLine};
    case dts::Precedence::Success: break;
  }
  return {QColor(46, 140, 80), 2, Qt::SolidLine};
}

/// A line from box to box past those between, with its head.
QPainterPath WayOf(const StepGraph::Edge& edge) {
  QPainterPath path;
  QPointF from = ToScene(edge.way.front()) + QPointF(kBoxWidth / 2, 0);
  path.moveTo(from);
  for (std::size_t i = 1; i < edge.way.size(); ++i) {
    const bool isLast = i + 1 == edge.way.size();
    const QPointF to = ToScene(edge.way[i]) - QPointF(isLast ? kBoxWidth / 2 : 0, 0);
    const double bend = (to.x() - from.x()) / 2;
    path.cubicTo(from + QPointF(bend, 0), to - QPointF(bend, 0), to);
    from = to;
  }
  path.moveTo(from - QPointF(9, 5));
  path.lineTo(from);
  path.lineTo(from - QPointF(9, -5));
  return path;
}

}  // namespace

class StepBox final : public QGraphicsItem {
 public:
  StepBox(const dts::StepOutline& outline, const StepGraph::Node& node)
      : name_(ToQt(outline.name)), task_(ToQt(outline.task)) {
    setPos(ToScene(node.at));
  }

  const QString& Name() const { return name_; }
  /// How it stands: "running, 687,028 rows".
  QString State() const { return look_.word + (figures_.isEmpty() ? "" : ", " + figures_); }

  /// False when nothing has changed.
  bool Show(const StepLook& look, const QString& figures, bool isChosen) {
    if (look == look_ && figures == figures_ && isChosen == isChosen_) return false;
    look_ = look;
    figures_ = figures;
    isChosen_ = isChosen;
    setToolTip(name_ + "\n" + State());
    update();
    return true;
  }

  QRectF boundingRect() const override {
    return {-kBoxWidth / 2 - 3, -kBoxHeight / 2 - 3, kBoxWidth + 6, kBoxHeight + 6};
  }

  void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override {
    const QPalette palette = widget == nullptr ? QPalette() : widget->palette();
    const QRectF box(-kBoxWidth / 2, -kBoxHeight / 2, kBoxWidth, kBoxHeight);
    const double zoom =
        QStyleOptionGraphicsItem::levelOfDetailFromTransform(painter->worldTransform());
    painter->setPen(
        QPen(isChosen_ ? palette.color(QPalette::Highlight) : look_.colour, isChosen_ ? 4 : 1.5));
    painter->setBrush(zoom < kTextZoom ? QBrush(look_.colour) : palette.brush(QPalette::Base));
    painter->drawRoundedRect(box, 5, 5);
    if (zoom >= kTextZoom) DrawTexts(*painter, palette, box);
    (void)option;
  }

 private:
  void DrawTexts(QPainter& painter, const QPalette& palette, const QRectF& box) const {
    const QRectF mark(box.left(), box.top(), 30, box.height());
    painter.setPen(Qt::NoPen);
    painter.setBrush(look_.colour);
    painter.drawRoundedRect(mark, 5, 5);
    QFont font = painter.font();
    font.setPixelSize(17);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(mark, Qt::AlignCenter, look_.sign);
    font.setPixelSize(13);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(palette.color(QPalette::Text));
    const QRectF text = box.adjusted(36, 5, -5, -5);
    painter.drawText(text, Qt::AlignLeft | Qt::AlignTop,
                     QFontMetricsF(font).elidedText(name_, Qt::ElideRight, text.width()));
    font.setBold(false);
    font.setPixelSize(12);
    painter.setFont(font);
    painter.drawText(text, Qt::AlignLeft | Qt::AlignBottom,
                     QFontMetricsF(font).elidedText(figures_.isEmpty() ? task_ : figures_,
                                                    Qt::ElideRight, text.width()));
  }

  const QString name_, task_;
  StepLook look_;
  QString figures_;
  bool isChosen_ = false;
};

StepGraphView::StepGraphView(RunMonitor& monitor) : monitor_(monitor) {
  setScene(&scene_);
  setAccessibleName(Tr("Steps"));
  TellScreenReaders();
  setDragMode(ScrollHandDrag);
  setRenderHint(QPainter::Antialiasing);
  setTransformationAnchor(AnchorUnderMouse);
  setFocusPolicy(Qt::StrongFocus);
  setMinimumHeight(fontMetrics().height() * 9);
}

void StepGraphView::ShowPackage() {
  const std::vector<dts::StepOutline>& steps = monitor_.Package.Get();
  scene_.clear();
  boxes_.clear();
  chosen_ = -1;
  follows_ = true;
  const StepGraph graph = LayOut(steps);
  scene_.setSceneRect(0, 0, graph.width * kLayerWidth, graph.height * kPlaceHeight);
  for (const StepGraph::Edge& edge : graph.edges)
    scene_.addPath(WayOf(edge), PenOf(edge.on))->setZValue(-1);
  for (std::size_t i = 0; i < steps.size(); ++i) {
    boxes_.push_back(new StepBox(steps[i], graph.nodes[i]));
    scene_.addItem(boxes_.back());
  }
  Fit(kFirstZoom);
  ShowSteps();
}

void StepGraphView::ShowSteps() {
  const std::vector<dts::StepOutline>& steps = monitor_.Package.Get();
  for (std::size_t i = 0; i < boxes_.size() && i < steps.size(); ++i) {
    const RunMonitor::Step* const step = monitor_.Find(steps[i].name);
    QString figures;
    if (step != nullptr) figures = ToQt(AmountOf(*step));
    if (step != nullptr && step->end && step->state != StepState::NotRun)
      figures += (figures.isEmpty() ? "" : ", ") + SecondsText(*step->end - step->begin);
    const int at = static_cast<int>(i);
    if (boxes_[i]->Show(LookOf(steps[i], step, monitor_.VerdictAtEnd()), figures, at == chosen_))
      TellPartChanged(*this, at);
  }
  FollowRun();
}

bool StepGraphView::FindNext(const QString& text) {
  const int count = static_cast<int>(boxes_.size());
  for (int i = 1; i <= count && !text.isEmpty(); ++i) {
    const int step = (chosen_ + i) % count;
    if (!boxes_[static_cast<std::size_t>(step)]->Name().contains(text, Qt::CaseInsensitive))
      continue;
    Choose(step);
    return true;
  }
  return false;
}

void StepGraphView::Choose(int step) {
  chosen_ = step;
  follows_ = false;
  if (step >= 0) centerOn(boxes_[static_cast<std::size_t>(step)]);
  ShowSteps();
  TellPartChosen(*this, step);
  if (onChosen) onChosen(step);
}

QString StepGraphView::PartText(int step) const {
  const StepBox& box = *boxes_[static_cast<std::size_t>(step)];
  return box.Name() + ", " + box.State();
}

QRect StepGraphView::PartPlace(int step) const {
  const QRectF box = boxes_[static_cast<std::size_t>(step)]->sceneBoundingRect();
  return mapFromScene(box).boundingRect().translated(viewport()->pos());
}

/// Small packages keep their natural size, large ones are made no smaller than that.
void StepGraphView::Fit(double smallest) {
  fit_ = smallest;
  resetTransform();
  const QRectF all = scene_.sceneRect();
  const double factor = std::min(viewport()->width() / std::max(1.0, all.width()),
                                 viewport()->height() / std::max(1.0, all.height()));
  // A tall one fills the width, beside the bar by which it is scrolled.
  const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
  const double byWidth = (viewport()->width() - bar) / std::max(1.0, all.width());
  const bool fills = smallest > 0 && byWidth >= smallest;
  const double wanted =
      std::clamp(fills ? std::max(factor, byWidth) : factor, std::max(smallest, kSmallest), 1.0);
  scale(wanted, wanted);
  if (factor < wanted) centerOn(0, all.height() / 2);
}

/// Where the run is stays in sight.
void StepGraphView::FollowRun() {
  if (!follows_ || !monitor_.Runs.Get()) return;
  const std::vector<dts::StepOutline>& steps = monitor_.Package.Get();
  for (std::size_t i = steps.size(); i-- > 0;) {
    const RunMonitor::Step* const step = monitor_.Find(steps[i].name);
    if (step != nullptr && step->state == StepState::Running)
      return ensureVisible(boxes_[i], kFollowMargin, kFollowMargin);
  }
}

void StepGraphView::Zoom(double factor) {
  const double now = transform().m11();
  factor = std::clamp(now * factor, kSmallest, kLargest) / now;
  fit_.reset();
  scale(factor, factor);
}

void StepGraphView::resizeEvent(QResizeEvent* event) {
  QGraphicsView::resizeEvent(event);
  if (fit_) Fit(*fit_);
}

void StepGraphView::wheelEvent(QWheelEvent* event) {
  if (event->modifiers() & Qt::ControlModifier)
    Zoom(std::pow(1.0015, event->angleDelta().y()));
  else
    QGraphicsView::wheelEvent(event);
}

void StepGraphView::mousePressEvent(QMouseEvent* event) {
  QGraphicsView::mousePressEvent(event);
  follows_ = false;
  const auto found = std::ranges::find(
      boxes_, itemAt(event->pos()), [](StepBox* box) { return static_cast<QGraphicsItem*>(box); });
  if (found == boxes_.end() || event->button() != Qt::LeftButton) return;
  chosen_ = static_cast<int>(found - boxes_.begin());
  ShowSteps();
  if (onChosen) onChosen(chosen_);
}

void StepGraphView::keyPressEvent(QKeyEvent* event) {
  const int count = static_cast<int>(boxes_.size());
  const bool goesOn = event->key() == Qt::Key_Right || event->key() == Qt::Key_Down;
  const bool goesBack = event->key() == Qt::Key_Left || event->key() == Qt::Key_Up;
  if (count > 0 && (goesOn || goesBack))
    return Choose((std::max(chosen_, 0) + (chosen_ < 0 ? 0 : goesOn ? 1 : count - 1)) % count);
  if (event->key() == Qt::Key_Plus) return Zoom(1.25);
  if (event->key() == Qt::Key_Minus) return Zoom(0.8);
  if (event->key() == Qt::Key_0) return FitAll();
  QGraphicsView::keyPressEvent(event);
}

}  // namespace torvik
