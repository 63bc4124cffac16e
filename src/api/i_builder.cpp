#include "api/i_builder.h"

IBuilder::~IBuilder() = default;

VOID_ IBuilder::getObjectVector(std::vector<IObject*>& /*objects*/) {}

VOID_ IBuilder::getSpecificObject(UNSIGNED_INTEGER /*commandId*/, VOIDPTR /*record*/) {}

VOID_ IBuilder::setSpecificParams(UCHAR_ /*commandId*/, VOIDPTR /*record*/) {}
