G0  X1  
  G1   Y2
