#pragma once

// What a view of an inspection reads: the inspection with its per-node model, the tree of the
// devices the module published, and the words the reports share for what the model holds (key
// and level names, the records' texts, the nodes' kinds of trouble). A view includes this and
// its own helpers, never a header that works knowledge out: that is done once, in the model.

#include "inspect/io/Format.h"
#include "inspect/io/JsonText.h"
#include "inspect/model/DeviceTree.h"
#include "inspect/model/Inspection.h"
#include "inspect/rom/Names.h"
#include "inspect/rom/Records.h"
#include "inspect/verdicts/Triage.h"
#include "inspect/verdicts/VerdictClasses.h"
