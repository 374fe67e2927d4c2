#include "value_makers.h"

#include "component/value_objects.h"
#include "host/objects.h"

std::vector<ValueMaker> AllValueMakers() {
    return {
        {"library", tagvera::NewBuffer, tagvera::NewValueList, tagvera::NewKeyedList},
        {"host", tagvera::host::NewHostBuffer, tagvera::host::NewHostValues, tagvera::host::NewHostKeyedList},
    };
}
