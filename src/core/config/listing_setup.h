// The options of a listing as the settings and the language in force give them.
#pragma once

#include "listing/listing_options.h"

struct AppConfig;

ListingOptions ListingOptionsOf(const AppConfig &config);
