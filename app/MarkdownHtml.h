#pragma once

#include <QString>

namespace zuLogging {

/// A document as this project writes its documents (headings, paragraphs, lists, tables, fenced and
/// indented blocks, images, links, bold, inline code) as HTML of the kind that Qt's texts show.
/// Each heading has an anchor, made as usual: lower case, blanks as hyphens. HTML in the text is
/// shown as it is written. Takes time and memory in proportion to the text.
QString markdownToHtml(const QString& markdown);

/// The anchor of a heading with that text.
QString headingAnchor(const QString& heading);

} // namespace zuLogging
