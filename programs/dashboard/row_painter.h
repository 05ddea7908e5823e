#pragma once

#include <string>
#include <vector>

#include "programs/dashboard/painter.h"

// One row of a panel, and the heads above a list's rows.

namespace tarvel::viewer {

Ink inkOf(Level level);

std::string rightAligned(const std::string& text, int width);

// The heads of a list; returns where they stand.
std::vector<Picture::Head> paintHeads(Screen& screen, const PanelView& panel, Box line,
                                      const Choices& choices, bool showsColumns);

void paintListRow(Screen& screen, Model& model, const DisplayRow& row, Box line, bool showsColumns,
                  Ink ink);

// The source stands dim behind the name, where it fits.
void paintSensorRow(Screen& screen, const Model& model, const DisplayRow& row,
                    const std::string& source, Box line, Ink ink);

}  // namespace tarvel::viewer
