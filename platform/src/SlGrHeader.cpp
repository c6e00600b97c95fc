#include "SlGrHeader.h"

SlGrHeader::SlGrHeader(Qt::Orientation orientation, QWidget* parent) : QHeaderView(orientation, parent)
{
    setSectionsClickable(false);
    setHighlightSections(false);
}

void SlGrHeader::setLabel(int section, const QString& text)
{
    if (model())
        model()->setHeaderData(section, orientation(), text);
}

QString SlGrHeader::label(int section) const
{
    return model() ? model()->headerData(section, orientation()).toString() : QString();
}
