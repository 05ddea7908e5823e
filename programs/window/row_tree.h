#pragma once

#include <QAbstractItemModel>
#include <QIcon>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

#include "viewer/display_rows.h"

// The rows of a view, which come anew every three seconds and are mostly those that were there. A
// view hears of what is different only: of cells, of rows that came or went, and of another order
// where there is one. Selection, expanded rows and place stay with their rows.

namespace tarvel::viewer {

struct TreeRow {
  QString key;                   // the same at every refresh, and unlike that of every other row
  QStringList cells;             // one for each column
  QString icon;                  // what the model's icons are asked for; empty: no icon
  QString toolTip;               // plain text
  Level level = Level::kNormal;  // of the model's marked column
  bool isDim = false;            // hidden, or not of now
  bool isHeading = false;        // of the rows below it
  std::vector<TreeRow> children;
};

class RowTree : public QAbstractItemModel {
 public:
  struct Column {
    QString title;
    bool isNumber = false;  // aligned to the right
  };
  using IconOf = std::function<QIcon(const QString& icon)>;
  using SortBy = std::function<void(int column, Qt::SortOrder order)>;

  // Levels mark the cells of `markedColumn`.
  RowTree(std::vector<Column> columns, int markedColumn, IconOf iconOf);
  ~RowTree() override;

  void update(std::vector<TreeRow> rows);

  // Rows come in the order in which they are to stand; a click on a head is passed on.
  void whenSorted(SortBy sortBy) { sortBy_ = std::move(sortBy); }

  // The row without its children; null for no row. Valid until the next update.
  const TreeRow* row(const QModelIndex& index) const;
  QModelIndex indexOf(const QString& key) const;

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  void sort(int column, Qt::SortOrder order) override;

 private:
  struct Node;

  Node* nodeOf(const QModelIndex& index) const;
  QModelIndex indexOf(Node& node, int column = 0) const;
  void merge(Node& parent, std::vector<TreeRow>& rows);
  void removeMissing(Node& parent, const std::vector<TreeRow>& rows);
  void appendNew(Node& parent, const std::vector<TreeRow>& rows);
  void reorder(Node& parent, const std::vector<TreeRow>& rows);
  void assign(Node& node, TreeRow& row);

  std::vector<Column> columns_;
  int markedColumn_;
  IconOf iconOf_;
  SortBy sortBy_;
  std::unique_ptr<Node> root_;
};

}  // namespace tarvel::viewer
