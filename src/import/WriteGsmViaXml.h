#pragma once
// Generation of the point cloud's library part: the library part XML in /tmp,
// compiled into BASE.gsm by the host's LP_XMLConverter.

// Path of the converter program; the one place to point the add-on at another installation.
extern const char* LP_XMLCONVERTER;

// Fills `buffer` (at least 37 bytes) with a new random upper-case version-4 GUID text.
void GenGUID(char* buffer);

// Writes the XML and runs the converter; true when it exited with status 0.
bool WriteGsmViaXml(const char* gspcFileName, const char* partName, const char* outputFolder,
                    float sizeX, float sizeY, float sizeZ,
                    float offsetX, float offsetY, float offsetZ,
                    int densityPercent, const char* e57Path,
                    long long totalPoints, long long reducedPoints);
