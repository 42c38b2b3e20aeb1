#pragma once

#include <QLabel>

class DeskPlot;

// One line over the plots: the contract, the book's expiry and days left, the volatility the
// book is priced at and the valuation time (the futures' last trade).
class DeskHeader : public QLabel
{
    Q_OBJECT

public:
    explicit DeskHeader(QWidget* parent = nullptr);

    void showContract(DeskPlot* plot);
    // Shows the data warnings beneath the line, in red.
    void setWarnings(const QStringList& warnings);

private:
    void showText();

    QString m_line;
    QStringList m_warnings;
};
