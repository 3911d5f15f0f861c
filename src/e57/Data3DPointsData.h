#pragma once
// Caller-owned buffers that a CompressedVectorReader fills, one pointer per
// field. A null pointer means "not requested". A buffer bound to a field that
// the scan does not have is left untouched.
#include <cstdint>

namespace e57 {

template <typename COORDTYPE = float>
struct Data3DPointsData_t {
    COORDTYPE* cartesianX = nullptr;
    COORDTYPE* cartesianY = nullptr;
    COORDTYPE* cartesianZ = nullptr;
    int8_t* cartesianInvalidState = nullptr;

    COORDTYPE* sphericalRange = nullptr;
    COORDTYPE* sphericalAzimuth = nullptr;
    COORDTYPE* sphericalElevation = nullptr;
    int8_t* sphericalInvalidState = nullptr;

    uint16_t* colorRed = nullptr;
    uint16_t* colorGreen = nullptr;
    uint16_t* colorBlue = nullptr;
    int8_t* isColorInvalid = nullptr;

    double* intensity = nullptr;
    int8_t* isIntensityInvalid = nullptr;

    int32_t* rowIndex = nullptr;
    int32_t* columnIndex = nullptr;
    int8_t* returnIndex = nullptr;
    int8_t* returnCount = nullptr;
    double* timeStamp = nullptr;
    int8_t* isTimeStampInvalid = nullptr;
};

using Data3DPointsData = Data3DPointsData_t<float>;
using Data3DPointsData_d = Data3DPointsData_t<double>;

}  // namespace e57
