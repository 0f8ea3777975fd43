#pragma once

#include <QLatin1String>

namespace zuLogging {

// The keys of the configuration document's members, and the value by which an attribute is about
// modules.
inline const QLatin1String parametersKey("parameters");
inline const QLatin1String levelKey("level");
inline const QLatin1String destinationKey("destination");
inline const QLatin1String fileKey("file");
inline const QLatin1String attributesKey("attributes");
inline const QLatin1String idKey("id");
inline const QLatin1String valueKey("value");
inline const QLatin1String opKey("op");
inline const QLatin1String specializationsKey("specializations");
inline const QLatin1String commentKey("#");
inline const QLatin1String elementKey("+"); ///< an element of a list, which has none in the text
inline const QLatin1String moduleId("module");

} // namespace zuLogging
