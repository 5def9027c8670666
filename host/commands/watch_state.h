/// The state of the line below the live table of ecpanel watch.
#pragma once

#include "host/panel_thread.h"

/// Requests, failures, times, queues, stations, and why there is no port; a line each.
QStringList watchStateLines(const PanelSnapshot &snapshot, qint64 now);
