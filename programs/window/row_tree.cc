#include "programs/window/row_tree.h"

#include <QFont>
#include <QGuiApplication>
#include <QHash>
#include <QPalette>
#include <QSet>
#include <algorithm>
#include <utility>

#include "programs/window/colours.h"

namespace tarvel::viewer {

struct RowTree::Node {
  TreeRow row;
  Node* parent = nullptr;
  int place = 0;  // among the parent's children
  std::vector<std::unique_ptr<Node>> children;

  void renumber() {
    int next = 0;
    for (const auto& child : children) child->place = next++;
  }
};

RowTree::RowTree(std::vector<Column> columns, int markedColumn, IconOf iconOf)
    : columns_(std::move(columns)),
      markedColumn_(markedColumn),
      iconOf_(std::move(iconOf)),
      root_(std::make_unique<Node>()) {}

RowTree::~RowTree() = default;

void RowTree::update(std::vector<TreeRow> rows) { merge(*root_, rows); }

void RowTree::merge(Node& parent, std::vector<TreeRow>& rows) {
  if (parent.children.empty() && rows.empty()) return;
  removeMissing(parent, rows);
  appendNew(parent, rows);
  reorder(parent, rows);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    Node& node = *parent.children[i];
    auto children = std::move(rows[i].children);
    rows[i].children.clear();
    assign(node, rows[i]);
    merge(node, children);
  }
}

void RowTree::removeMissing(Node& parent, const std::vector<TreeRow>& rows) {
  QSet<QString> wanted;
  wanted.reserve(static_cast<qsizetype>(rows.size()));
  for (const auto& row : rows) wanted.insert(row.key);
  auto& children = parent.children;
  for (auto last = static_cast<int>(children.size()) - 1; last >= 0; --last) {
    const auto isGone = [&](int place) {
      return !wanted.contains(children[static_cast<std::size_t>(place)]->row.key);
    };
    if (!isGone(last)) continue;
    int first = last;
    while (first > 0 && isGone(first - 1)) --first;
    beginRemoveRows(indexOf(parent), first, last);
    children.erase(children.begin() + first, children.begin() + last + 1);
    parent.renumber();
    endRemoveRows();
    last = first;
  }
}

void RowTree::appendNew(Node& parent, const std::vector<TreeRow>& rows) {
  QSet<QString> known;
  known.reserve(static_cast<qsizetype>(parent.children.size()));
  for (const auto& child : parent.children) known.insert(child->row.key);
  std::vector<std::unique_ptr<Node>> added;
  for (const auto& row : rows) {
    if (known.contains(row.key)) continue;
    auto node = std::make_unique<Node>();
    node->row = row;
    node->row.children.clear();
    node->parent = &parent;
    added.push_back(std::move(node));
  }
  if (added.empty()) return;
  const auto first = static_cast<int>(parent.children.size());
  beginInsertRows(indexOf(parent), first, first + static_cast<int>(added.size()) - 1);
  std::move(added.begin(), added.end(), std::back_inserter(parent.children));
  parent.renumber();
  endInsertRows();
}

void RowTree::reorder(Node& parent, const std::vector<TreeRow>& rows) {
  auto& children = parent.children;
  const bool isSame =
      std::equal(children.begin(), children.end(), rows.begin(), rows.end(),
                 [](const auto& child, const TreeRow& row) { return child->row.key == row.key; });
  if (isSame) return;
  QHash<QString, int> places;
  int next = 0;
  for (const auto& row : rows) places.insert(row.key, next++);
  const QList<QPersistentModelIndex> above = {QPersistentModelIndex(indexOf(parent))};
  Q_EMIT layoutAboutToBeChanged(above, VerticalSortHint);
  std::stable_sort(children.begin(), children.end(), [&](const auto& a, const auto& b) {
    return places.value(a->row.key) < places.value(b->row.key);
  });
  parent.renumber();
  QModelIndexList before;
  QModelIndexList after;
  for (const auto& old : persistentIndexList()) {
    Node* node = nodeOf(old);
    if (node->parent != &parent) continue;
    before.append(old);
    after.append(indexOf(*node, old.column()));
  }
  changePersistentIndexList(before, after);
  Q_EMIT layoutChanged(above, VerticalSortHint);
}

void RowTree::assign(Node& node, TreeRow& row) {
  const auto& now = node.row;
  const bool isRestyled = now.icon != row.icon || now.level != row.level || now.isDim != row.isDim;
  int first = isRestyled ? 0 : columnCount();
  int last = isRestyled ? columnCount() - 1 : -1;
  for (int i = 0; !isRestyled && i < columnCount(); ++i) {
    if (now.cells.value(i) == row.cells.value(i)) continue;
    first = std::min(first, i);
    last = i;
  }
  node.row = std::move(row);
  if (last < 0) return;
  Q_EMIT dataChanged(
      indexOf(node, first), indexOf(node, last),
      isRestyled ? QList<int>() : QList<int>{Qt::DisplayRole, Qt::AccessibleTextRole});
}

RowTree::Node* RowTree::nodeOf(const QModelIndex& index) const {
  return index.isValid() ? static_cast<Node*>(index.internalPointer()) : root_.get();
}

QModelIndex RowTree::indexOf(Node& node, int column) const {
  return &node == root_.get() ? QModelIndex() : createIndex(node.place, column, &node);
}

const TreeRow* RowTree::row(const QModelIndex& index) const {
  return index.isValid() ? &nodeOf(index)->row : nullptr;
}

QModelIndex RowTree::indexOf(const QString& key) const {
  const auto in = [&](const auto& self, const Node& parent) -> QModelIndex {
    for (const auto& child : parent.children) {
      if (child->row.key == key) return indexOf(*child);
      if (const auto found = self(self, *child); found.isValid()) return found;
    }
    return {};
  };
  return in(in, *root_);
}

QModelIndex RowTree::index(int row, int column, const QModelIndex& parent) const {
  const Node& above = *nodeOf(parent);
  if (row < 0 || column < 0 || column >= columnCount() || parent.column() > 0 ||
      row >= static_cast<int>(above.children.size())) {
    return {};
  }
  return indexOf(*above.children[static_cast<std::size_t>(row)], column);
}

QModelIndex RowTree::parent(const QModelIndex& child) const {
  return child.isValid() ? indexOf(*nodeOf(child)->parent) : QModelIndex();
}

int RowTree::rowCount(const QModelIndex& parent) const {
  return parent.column() > 0 ? 0 : static_cast<int>(nodeOf(parent)->children.size());
}

int RowTree::columnCount(const QModelIndex&) const { return static_cast<int>(columns_.size()); }

QVariant RowTree::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const TreeRow& row = nodeOf(index)->row;
  const int column = index.column();
  switch (role) {
    case Qt::DisplayRole:
      return row.cells.value(column);
    case Qt::AccessibleTextRole:
      return columns_[static_cast<std::size_t>(column)].title + ": " + row.cells.value(column);
    case Qt::ToolTipRole:
      // As a text that wraps, and in which nothing that a process calls itself is markup.
      return row.toolTip.isEmpty() ? QVariant() : "<p>" + row.toolTip.toHtmlEscaped() + "</p>";
    case Qt::TextAlignmentRole:
      return QVariant::fromValue(columns_[static_cast<std::size_t>(column)].isNumber
                                     ? Qt::AlignRight | Qt::AlignVCenter
                                     : Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::DecorationRole:
      return column == 0 && !row.icon.isEmpty() ? QVariant(iconOf_(row.icon)) : QVariant();
    case Qt::FontRole: {
      if (!row.isHeading) return {};
      QFont font = QGuiApplication::font();
      font.setBold(true);
      return font;
    }
    case Qt::ForegroundRole:
      if (row.isDim) return faintColour(QGuiApplication::palette());
      return column == markedColumn_ && row.level != Level::kNormal
                 ? QVariant(levelColour(row.level, QGuiApplication::palette()))
                 : QVariant();
    default:
      return {};
  }
}

QVariant RowTree::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) return {};
  const auto& column = columns_[static_cast<std::size_t>(section)];
  if (role == Qt::DisplayRole) return column.title;
  if (role == Qt::TextAlignmentRole) {
    return QVariant::fromValue(column.isNumber ? Qt::AlignRight | Qt::AlignVCenter
                                               : Qt::AlignLeft | Qt::AlignVCenter);
  }
  return {};
}

void RowTree::sort(int column, Qt::SortOrder order) {
  if (sortBy_) sortBy_(column, order);
}

}  // namespace tarvel::viewer
