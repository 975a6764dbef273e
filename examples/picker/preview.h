// Shows the frames of a capture, or says why there are none.
#pragma once

#include <QWidget>

#include "capture.h"

class Preview : public QWidget {
    Q_OBJECT

  public:
    explicit Preview(const Capture* capture, QWidget* parent = nullptr);
    // What stands over the picture; empty takes it away.
    void setTrouble(const QString& trouble);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    const Capture* const capture_;
    QString trouble_;
};
