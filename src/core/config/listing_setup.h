// The options of a listing as the settings and the language in force give them.
#pragma once

#include "listing/listing_options.h"

struct AppConfig;

ListingOptions ListingOptionsOf(const AppConfig &config);

// The file of standard stored names that ships with the program, beside the
// executable or in the installed data folder; empty when it is missing.
QString StandardNamesPath();
