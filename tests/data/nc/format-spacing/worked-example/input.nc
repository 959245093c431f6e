N10   G0    X0   Y0
