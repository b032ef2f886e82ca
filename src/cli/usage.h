// The help text of arcavera-cli: its commands, options and exit statuses.
#pragma once

extern const char kUsage[];
