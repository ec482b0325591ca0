#pragma once

#include <QRect>
#include <QString>

class QWidget;

namespace torvik {

/// What a screen reader is told of a picture that a widget draws: a list of its parts. Such a
/// widget has this interface too and calls TellScreenReaders once.
class PictureParts {
 public:
  virtual ~PictureParts() = default;
  virtual int PartCount() const = 0;
  /// In words: "load orders, running, 687,028 rows". Parts are counted from 0.
  virtual QString PartText(int part) const = 0;
  /// Where it stands in the widget.
  virtual QRect PartPlace(int part) const = 0;
  /// The one that the operator has chosen; -1: none.
  virtual int ChosenPart() const = 0;
  virtual void ChoosePart(int part) = 0;
  /// Whether the parts are changing: a run goes on.
  virtual bool IsBusy() const = 0;
};

/// From now on the accessible tree has the parts of all such widgets.
void TellScreenReaders();

/// Another part has been chosen, or the text of one has changed.
void TellPartChosen(QWidget& picture, int part);
void TellPartChanged(QWidget& picture, int part);

}  // namespace torvik
