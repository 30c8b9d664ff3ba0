#pragma once

/// The bytes of a page of memory (getpagesize(3)), asked for once. Any thread.
int pageSize();
