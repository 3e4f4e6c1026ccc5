#pragma once
// The kinds of tools by name, for the table of kinds.

#include <kvmeasure/inspection/tool.h>

namespace KvMeasure::Internal {

extern const ToolKind maxTool, minTool, meanTool, medianTool, percentileTool, bridgeTool, boxTool, areaTool;
extern const ToolKind lineTool, intersectionTool, angleTool, dimensionTool, edgeTool;
extern const ToolKind arcTool, stepTool, gapTool, flushTool, grooveTool, cornerTool;
extern const ToolKind filletTool, stripTool, thicknessTool, filletWeldTool, buttWeldTool;
extern const ToolKind straightnessTool, roundnessTool, stepHeightTool, roughnessTool;

}  // namespace KvMeasure::Internal
