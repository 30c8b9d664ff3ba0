#pragma once

#include "Arguments.h"

// What each command does. False means that it did its work and found something wrong.

bool findExecutable(Arguments const& arguments);
bool findModule(Arguments const& arguments);
bool findSource(Arguments const& arguments);

// These look at a cache directory and change nothing in it, access times included.
bool cacheList(Arguments const& arguments);
bool cacheStat(Arguments const& arguments);
bool cacheVerify(Arguments const& arguments);
bool cacheWouldRemove(Arguments const& arguments);
bool cacheDoctor(Arguments const& arguments);

// These are the cache's own operations.
bool cacheGet(Arguments const& arguments);
bool cachePut(Arguments const& arguments);
bool cacheRemove(Arguments const& arguments);

bool catalogLint(Arguments const& arguments);

bool showEnvironment(Arguments const& arguments);
bool splitText(Arguments const& arguments);
bool showVersion(Arguments const& arguments);
