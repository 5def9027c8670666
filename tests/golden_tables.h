/// The tables of the manual that give examples, against the driver.
#pragma once

#include "tests/golden_page.h"

/// Whether the last column of a table holds the bytes of an example.
bool isTableOfBytes(const PageTable &table);
/// The bytes of that column, one after the other; a problem when the first column does not count them.
QString frameOf(const Page &page, const PageTable &table, QString &problem);

/// Whether rowAgainstDriver() knows the table.
bool isTableOfDeviceTypes(const PageTable &table);
/// What is wrong with a row of docs/device-types.md; empty when the driver agrees.
QString rowAgainstDriver(const QStringList &header, const QStringList &cells);
