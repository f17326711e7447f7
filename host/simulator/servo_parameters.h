#ifndef SIMULATOR_SERVO_PARAMETERS_H
#define SIMULATOR_SERVO_PARAMETERS_H

#include <cstdint>

class SimulatedStation;

// The parameter set of the simulated servo, as the example register map
// (share/drvctl/maps/teco_servo.csv) names it: control, speed, torque and
// position blocks with undefined registers between them, and read-only status
// values (input registers, inputs).
void loadServoParameters(SimulatedStation& station);
// One ServoMotion tick: the status values follow its ramp from `previousSpeed`
// to `speed` (torque, position, DC bus, heat sink, in-position and brake bits).
void moveServoStatus(SimulatedStation& station, uint16_t previousSpeed, uint16_t speed);

#endif
