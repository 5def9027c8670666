/// A plan in words.
#pragma once

#include "host/plan.h"
#include "host/report.h"

/// A row a block: where it lies, what is read and what of it is useful, and the tags in it.
TextTable planTable(const Plan &plan, const QList<Tag> &tags);
/// Requests, bytes and cuts; a line each.
QStringList planTotals(const Plan &plan);
