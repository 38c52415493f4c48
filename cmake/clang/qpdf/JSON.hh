// Stands in the way of libqpdf's header of this name where clang++ compiles, whose releases up to 16 at least cannot
// read that one as C++20 (it has a vector of a class that is not complete yet). Nothing here uses libqpdf's JSON.
#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <qpdf/DLL.h>
#include <qpdf/PointerHolder.hh>
#include <qpdf/Types.h>

class JSON;
