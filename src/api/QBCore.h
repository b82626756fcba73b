// SPDX-License-Identifier: Apache-2.0
// Everything a program built on libqbcore needs, in one include: the front door that opens a
// file or bytes of any supported format, the message model, the exporters and the version.
#pragma once

#include "api/ExportToFolder.h"
#include "api/ExportToRFC822.h"
#include "api/OpenMessage.h"
#include "api/QBVersion.h"
#include "api/Version.h"
#include "exporters/TNEFMessageExporter.h"
#include "model/Address.h"
#include "model/MAPIArray.h"
#include "model/OutlookMessage.h"
#include "model/PropertyTags.h"
#include "platform/LogSink.h"
#include "tnef/TNEFAttachment.h"
