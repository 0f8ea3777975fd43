#pragma once

#include <QObject>

#include <limits>
#include <vector>

class QTableView;

namespace zuLogging {

/// Makes a table's rows as high as their contents, at a cost that does not grow with the number of
/// rows: those in view and a page on both sides are measured, the others as they come near the
/// view. What is in view stays where it is: heights that change above it move the scroll bar along,
/// and a row that was scrolled to stays in view.
///
/// Switched off, all rows are of one height and can be resized by hand.
/// GUI thread only.
class RowHeightFitter : public QObject
{
    Q_OBJECT

public:
    /// Rows are no lower than this, and of this height when nothing is fitted; in pixels.
    static constexpr int plainHeight = 20;
    /// No row is higher than this: its end would be far out of view, and the sum of all heights has
    /// to stay within an int.
    static constexpr int maximumHeight = 2000;
    /// All heights add up to an int, as the header needs it: what the rows may be higher than plain
    /// ones in sum, and how many plain ones have room beside that and as much again, for rows that
    /// are resized by hand.
    static constexpr int maximumExtraHeight = std::numeric_limits<int>::max() / 32;
    static constexpr int maximumRows =
        (std::numeric_limits<int>::max() - 2 * maximumExtraHeight) / plainHeight;

    /// Becomes a child of `table`, which scrolls per pixel. Starts switched off.
    explicit RowHeightFitter(QTableView* table);

    bool isOn() const { return on_; }
    /// Measures or resets also when it is on or off already.
    void setOn(bool on);

    /// To be called when the table has been given another model.
    void watchModel();

    /// Shows the end of the last row, also where its height is not known yet.
    void scrollToBottom();

    bool eventFilter(QObject* watched, QEvent* event) override;

private Q_SLOTS:
    void rowsChanged();
    void rowsMayHaveChanged();
    void viewChanged();
    void scrolled(int value);

private:
    enum class Edge
    {
        Top,
        Bottom
    };
    struct Anchor
    {
        int row;
        Edge edge;
        int position; ///< of the edge in the viewport
    };
    struct Height
    {
        int row;
        int height;
    };

    void resetHeights();
    void forgetHeights();
    bool fit(Edge kept);
    bool fitAround(const Anchor& anchor);
    Anchor anchorAt(Edge kept) const;
    int edgePosition(const Anchor& anchor) const;
    int heightOf(int row, std::vector<Height>& measured);
    int extraHeightWith(const std::vector<Height>& measured) const;
    void applyHeights(const std::vector<Height>& measured);
    void keepInPlace(const Anchor& anchor);
    void makePlain();

    QTableView* table_;
    std::vector<bool> fitted_; ///< by row
    int lastScrollValue_ = 0;
    bool on_ = false;
    bool fitting_ = false;
    bool fitPending_ = false;
};

} // namespace zuLogging
