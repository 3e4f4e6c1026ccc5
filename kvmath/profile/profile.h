#pragma once
// One scanner line.

#include <kvmath/core/interpolant.h>
#include <kvmath/core/point_cloud.h>
#include <kvmath/tsearch/line_types.h>

#include <QtCore/QRectF>

namespace KvMath {

class KvCircle;
class KvLine;

class KVMATH_EXPORT KvProfile : public KvPointCloud<KvPointXY> {
public:
    KvProfile();
    KvProfile(const KvProfile& other);
    KvProfile(const float* buffer, unsigned short count);
    KvProfile& operator=(const KvProfile& other);
    void copyFromXYPointsBuffer(const float* buffer, unsigned short count);

    bool calcRange();
    bool calcRange(float* minX, float* minY, float* maxX, float* maxY, int* indices) const;
    bool calcRange(QRectF& rect, int* indices) const;
    float calcCenterX();
    float calcCenterY();

    int findNearestToX(float x, bool fromEnd) const;
    bool findNearestToX(float x, KvPointXY& out, bool fromEnd) const;
    int findZeros(float* out) const;
    float calcY(float x, float tolerance, int* index) const;
    float calcCorrelation() const;

    void sortByY(KvSortOrder order);
    int trim(float xmin, float ymin, float xmax, float ymax);
    int trim(QRectF r);
    int trimX(float xmin, float xmax);
    int trimY(float ymin, float ymax);
    int trimLower(float ymin);
    int trimUpper(float ymax);
    int removeDuplicates();
    int interpolate(float step, float xFrom, float xTo, _KvInterpolantType_ type);
    KvProfile derivative() const;

    void toPolar();
    void toEvklid();
    void rotatePolar(float degrees);
    void rotateEvklid(float degrees);
    void rotateFixed(float degrees, const KvPointXY& centre);

    bool calcLine(KvLine& line) const;
    bool calcCircle(KvCircle& circle, float* error) const;
    void fitByLine(LineABC& line) const;
    void calcDistance(const KvProfile& other, KvProfile& dest, int window, int count, bool truncate) const;
    bool calcRect(KvPointCloud<KvPointXY>& corners, float* area, float angle) const;
    bool calcRect(float* width, float* height, float* usedAngle, float angle) const;
    bool polynomFit(int degree);
    bool calcPolynomCoeffs(int degree, double* coeffs) const;
    double integral(float xFrom, float xTo) const;
    bool calcCutPoint(const KvLine& line, KvPointXY& cut, bool fromEnd = false) const;
    int makeCloudTopView(const KvPointCloud<KvPointXYZ>& cloud);
    int addLineSegments(QList<LinePP>& segments, int window, int step, double maxDeviation) const;
    void addParallelLine(KvProfile& dest, int first, int last, float offset) const;

    int readFromCSVFile(QString path, int xColumn, int yColumn);
    bool writeToCSVFile(QString path) const;

    void medFilt(KvProfile& dest, int window) const;
    void wndFilter(int window);
    void diffFilt(KvProfile& dest, int window) const;
    void zebFilter20(KvProfile& dest, float gap) const;
    void zebFilter20(float gap);
    void removeHighLevel(KvLine line);
    void removeLowLevel(KvLine line);
    void removePointsByYMedian(double tolerance);
    void removeNoise(int window, int maxJumps, float jumpThreshold, float unused);
    void removeLineParts(int maxParts, float maxCorrelation, float maxGap, int minPoints);
    void wndFilterPolar(KvProfile& dest, float maxGap, int window, int passes) const;
    bool splashFilter(KvProfile& dest, float maxJump, float maxWidth) const;
    bool splashFilterPolar(KvProfile& dest, float maxJump, float maxWidth, float minRadius) const;
    void removeNoisyPoints(float radius, int minNeighbours);
};

}  // namespace KvMath
