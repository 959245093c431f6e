<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es_ES" sourcelanguage="en">
<context>
    <name>VarnEdit</name>
    <message>
        <source>Connection failed: %@</source>
        <translation>Error de conexión: %@</translation>
    </message>
    <message>
        <source>Could not open %@: %@</source>
        <translation>No se pudo abrir %@: %@</translation>
    </message>
    <message>
        <source>Could not configure the port: %@</source>
        <translation>No se pudo configurar el puerto: %@</translation>
    </message>
    <message>
        <source>Send error: %@</source>
        <translation>Error de envío: %@</translation>
    </message>
    <message>
        <source>No port connection</source>
        <translation>No hay conexión con el puerto</translation>
    </message>
    <message>
        <source>waiting for the port</source>
        <translation>esperando al puerto</translation>
    </message>
    <message>
        <source>Timed out %@</source>
        <translation>Tiempo de espera agotado %@</translation>
    </message>
    <message>
        <source>waiting for the machine to receive (is it in receive mode? are the cable and flow control correct?)</source>
        <translation>esperando a que la máquina reciba (¿está en modo de recepción? ¿son correctos el cable y el control de flujo?)</translation>
    </message>
    <message>
        <source>waiting for the machine to receive the end of the program</source>
        <translation>esperando a que la máquina reciba el final del programa</translation>
    </message>
    <message>
        <source>Transfer Cancelled</source>
        <translation>Transferencia cancelada</translation>
    </message>
    <message>
        <source>Your user may not use serial ports. Add it to the dialout group (sudo usermod -aG dialout $USER), then log out and in again.</source>
        <translation>Su usuario no tiene permiso para usar los puertos serie. Añádalo al grupo dialout (sudo usermod -aG dialout $USER) y después cierre la sesión y vuelva a iniciarla.</translation>
    </message>
    <message>
        <source>no flow</source>
        <translation>sin control de flujo</translation>
    </message>
    <message>
        <source>XON/XOFF</source>
        <translation>XON/XOFF</translation>
    </message>
    <message>
        <source>RTS/CTS</source>
        <translation>RTS/CTS</translation>
    </message>
    <message>
        <source>Name is required</source>
        <translation>El nombre es obligatorio</translation>
    </message>
    <message>
        <source>Baud rate must be greater than zero</source>
        <translation>La velocidad en baudios debe ser mayor que cero</translation>
    </message>
    <message>
        <source>Data bits must be 5, 6, 7, or 8</source>
        <translation>Los bits de datos deben ser 5, 6, 7 u 8</translation>
    </message>
    <message>
        <source>Stop bits must be 1 or 2</source>
        <translation>Los bits de parada deben ser 1 o 2</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Ninguna</translation>
    </message>
    <message>
        <source>Even</source>
        <translation>Par</translation>
    </message>
    <message>
        <source>Odd</source>
        <translation>Impar</translation>
    </message>
    <message>
        <source>Mark</source>
        <translation>Marca</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>Espacio</translation>
    </message>
    <message>
        <source>CR</source>
        <translation>CR</translation>
    </message>
    <message>
        <source>CRLF</source>
        <translation>CRLF</translation>
    </message>
    <message>
        <source>LF</source>
        <translation>LF</translation>
    </message>
    <message>
        <source>Machines</source>
        <translation>Máquinas</translation>
    </message>
    <message>
        <source>Machine</source>
        <translation>Máquina</translation>
    </message>
    <message>
        <source>New Machine</source>
        <translation>Nueva máquina</translation>
    </message>
    <message>
        <source>%@ Copy</source>
        <translation>Copia de %@</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Añadir</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>Duplicar</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Eliminar</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Nombre</translation>
    </message>
    <message>
        <source>Baud Rate</source>
        <translation>Velocidad (baudios)</translation>
    </message>
    <message>
        <source>Data Bits</source>
        <translation>Bits de datos</translation>
    </message>
    <message>
        <source>Parity</source>
        <translation>Paridad</translation>
    </message>
    <message>
        <source>Stop Bits</source>
        <translation>Bits de parada</translation>
    </message>
    <message>
        <source>Flow Control</source>
        <translation>Control de flujo</translation>
    </message>
    <message>
        <source>Line Terminator</source>
        <translation>Fin de línea</translation>
    </message>
    <message>
        <source>DTR</source>
        <translation>DTR</translation>
    </message>
    <message>
        <source>RTS</source>
        <translation>RTS</translation>
    </message>
    <message>
        <source>Drip Feed</source>
        <translation>Alimentación por goteo (drip feed)</translation>
    </message>
    <message>
        <source>Notes</source>
        <translation>Notas</translation>
    </message>
    <message>
        <source>Invalid Machine</source>
        <translation>Máquina no válida</translation>
    </message>
    <message>
        <source>Delete Machine</source>
        <translation>Eliminar máquina</translation>
    </message>
    <message>
        <source>Serial Line</source>
        <translation>Línea serie</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Listo</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Cerrar</translation>
    </message>
    <message>
        <source>Finishing drip feed…</source>
        <translation>Terminando la alimentación por goteo…</translation>
    </message>
    <message>
        <source>Finishing transfer…</source>
        <translation>Terminando la transferencia…</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>Listo</translation>
    </message>
    <message>
        <source>Connecting…</source>
        <translation>Conectando…</translation>
    </message>
    <message>
        <source>Sending…</source>
        <translation>Enviando…</translation>
    </message>
    <message>
        <source>Finishing…</source>
        <translation>Terminando…</translation>
    </message>
    <message>
        <source>Transfer Completed</source>
        <translation>Transferencia completada</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Error</translation>
    </message>
    <message>
        <source>%@ of %@</source>
        <translation>%@ de %@</translation>
    </message>
    <message>
        <source>Opening %@…</source>
        <translation>Abriendo %@…</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Puerto</translation>
    </message>
    <message>
        <source>Ports</source>
        <translation>Puertos</translation>
    </message>
    <message>
        <source>No ports found</source>
        <translation>No se encontraron puertos</translation>
    </message>
    <message>
        <source>No machines</source>
        <translation>No hay máquinas</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Progreso</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Estado</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Archivo</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>Enviar</translation>
    </message>
    <message>
        <source>%@ left</source>
        <translation>quedan %@</translation>
    </message>
    <message>
        <source>%@/s</source>
        <translation>%@/s</translation>
    </message>
    <message>
        <source>%@ byte</source>
        <translation>%@ byte</translation>
    </message>
    <message>
        <source>%@ bytes</source>
        <translation>%@ bytes</translation>
    </message>
    <message>
        <source>Time Left</source>
        <translation>Tiempo restante</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Configuración</translation>
    </message>
    <message>
        <source>Machine Settings</source>
        <translation>Configuración de máquinas</translation>
    </message>
    <message>
        <source>Unknown G code: G%@</source>
        <translation>Código G desconocido: G%@</translation>
    </message>
    <message>
        <source>Unknown M code: M%@</source>
        <translation>Código M desconocido: M%@</translation>
    </message>
    <message>
        <source>Cutting move with F0 or no F feed rate</source>
        <translation>Movimiento de corte con F0 o sin avance F</translation>
    </message>
    <message>
        <source>Missing tape start marker %</source>
        <translation>Falta la marca de inicio de cinta %</translation>
    </message>
    <message>
        <source>No program end found (M30 / M02)</source>
        <translation>No se encontró el fin de programa (M30 / M02)</translation>
    </message>
    <message>
        <source>Spindle is not started (missing M03 / M04)</source>
        <translation>El husillo no está arrancado (falta M03 / M04)</translation>
    </message>
    <message>
        <source>in</source>
        <translation>pulg</translation>
    </message>
    <message>
        <source>mm</source>
        <translation>mm</translation>
    </message>
    <message>
        <source>Rapid positioning (non-cutting)</source>
        <translation>Posicionamiento rápido (sin corte)</translation>
    </message>
    <message>
        <source>Linear interpolation (cutting)</source>
        <translation>Interpolación lineal (corte)</translation>
    </message>
    <message>
        <source>Clockwise arc (CW)</source>
        <translation>Arco en sentido horario (CW)</translation>
    </message>
    <message>
        <source>Counterclockwise arc (CCW)</source>
        <translation>Arco en sentido antihorario (CCW)</translation>
    </message>
    <message>
        <source>Dwell</source>
        <translation>Pausa temporizada</translation>
    </message>
    <message>
        <source>Exact stop (one block)</source>
        <translation>Parada exacta (un bloque)</translation>
    </message>
    <message>
        <source>Programmable data input (offsets)</source>
        <translation>Entrada de datos programable (correctores)</translation>
    </message>
    <message>
        <source>XY plane selection</source>
        <translation>Selección del plano XY</translation>
    </message>
    <message>
        <source>XZ plane selection</source>
        <translation>Selección del plano XZ</translation>
    </message>
    <message>
        <source>YZ plane selection</source>
        <translation>Selección del plano YZ</translation>
    </message>
    <message>
        <source>Units in inches</source>
        <translation>Unidades en pulgadas</translation>
    </message>
    <message>
        <source>Units in millimeters</source>
        <translation>Unidades en milímetros</translation>
    </message>
    <message>
        <source>Return to machine zero (home)</source>
        <translation>Retorno al cero máquina (origen)</translation>
    </message>
    <message>
        <source>Return to reference point 2/3/4</source>
        <translation>Retorno al punto de referencia 2/3/4</translation>
    </message>
    <message>
        <source>Cancel cutter radius compensation</source>
        <translation>Cancelar compensación de radio de herramienta</translation>
    </message>
    <message>
        <source>Cutter radius compensation left</source>
        <translation>Compensación de radio de herramienta a la izquierda</translation>
    </message>
    <message>
        <source>Cutter radius compensation right</source>
        <translation>Compensación de radio de herramienta a la derecha</translation>
    </message>
    <message>
        <source>Tool length compensation (+)</source>
        <translation>Compensación de longitud de herramienta (+)</translation>
    </message>
    <message>
        <source>Tool length compensation (−)</source>
        <translation>Compensación de longitud de herramienta (−)</translation>
    </message>
    <message>
        <source>Cancel tool length compensation</source>
        <translation>Cancelar compensación de longitud de herramienta</translation>
    </message>
    <message>
        <source>Machine coordinates (absolute position)</source>
        <translation>Coordenadas de máquina (posición absoluta)</translation>
    </message>
    <message>
        <source>Work coordinate system 1</source>
        <translation>Sistema de coordenadas de pieza 1</translation>
    </message>
    <message>
        <source>Work coordinate system 2</source>
        <translation>Sistema de coordenadas de pieza 2</translation>
    </message>
    <message>
        <source>Work coordinate system 3</source>
        <translation>Sistema de coordenadas de pieza 3</translation>
    </message>
    <message>
        <source>Work coordinate system 4</source>
        <translation>Sistema de coordenadas de pieza 4</translation>
    </message>
    <message>
        <source>Work coordinate system 5</source>
        <translation>Sistema de coordenadas de pieza 5</translation>
    </message>
    <message>
        <source>Work coordinate system 6</source>
        <translation>Sistema de coordenadas de pieza 6</translation>
    </message>
    <message>
        <source>High-speed peck drilling cycle</source>
        <translation>Ciclo de taladrado con picoteo de alta velocidad</translation>
    </message>
    <message>
        <source>Left-hand tapping cycle</source>
        <translation>Ciclo de roscado con macho a izquierdas</translation>
    </message>
    <message>
        <source>Fine boring cycle</source>
        <translation>Ciclo de mandrinado fino</translation>
    </message>
    <message>
        <source>Cancel canned cycle</source>
        <translation>Cancelar ciclo fijo</translation>
    </message>
    <message>
        <source>Drilling cycle</source>
        <translation>Ciclo de taladrado</translation>
    </message>
    <message>
        <source>Drilling cycle with dwell</source>
        <translation>Ciclo de taladrado con pausa</translation>
    </message>
    <message>
        <source>Deep-hole peck drilling cycle</source>
        <translation>Ciclo de taladrado profundo con picoteo</translation>
    </message>
    <message>
        <source>Tapping cycle</source>
        <translation>Ciclo de roscado con macho</translation>
    </message>
    <message>
        <source>Reaming/boring cycle</source>
        <translation>Ciclo de escariado/mandrinado</translation>
    </message>
    <message>
        <source>Boring cycle</source>
        <translation>Ciclo de mandrinado</translation>
    </message>
    <message>
        <source>Absolute positioning</source>
        <translation>Posicionamiento absoluto</translation>
    </message>
    <message>
        <source>Incremental positioning</source>
        <translation>Posicionamiento incremental</translation>
    </message>
    <message>
        <source>Set coordinate system / spindle speed limit</source>
        <translation>Fijar sistema de coordenadas / límite de velocidad del husillo</translation>
    </message>
    <message>
        <source>Feed per minute</source>
        <translation>Avance por minuto</translation>
    </message>
    <message>
        <source>Feed per revolution</source>
        <translation>Avance por revolución</translation>
    </message>
    <message>
        <source>Constant surface speed (SFM/m·min)</source>
        <translation>Velocidad de corte constante (SFM/m·min)</translation>
    </message>
    <message>
        <source>Constant spindle RPM</source>
        <translation>Velocidad constante del husillo (RPM)</translation>
    </message>
    <message>
        <source>Return to initial point in canned cycle</source>
        <translation>Retorno al punto inicial en ciclo fijo</translation>
    </message>
    <message>
        <source>Return to R plane in canned cycle</source>
        <translation>Retorno al plano R en ciclo fijo</translation>
    </message>
    <message>
        <source>Program stop</source>
        <translation>Parada de programa</translation>
    </message>
    <message>
        <source>Optional stop</source>
        <translation>Parada opcional</translation>
    </message>
    <message>
        <source>End of program</source>
        <translation>Fin de programa</translation>
    </message>
    <message>
        <source>Spindle ON clockwise (CW)</source>
        <translation>Husillo en marcha en sentido horario (CW)</translation>
    </message>
    <message>
        <source>Spindle ON counterclockwise (CCW)</source>
        <translation>Husillo en marcha en sentido antihorario (CCW)</translation>
    </message>
    <message>
        <source>Spindle stop</source>
        <translation>Parada del husillo</translation>
    </message>
    <message>
        <source>Tool change</source>
        <translation>Cambio de herramienta</translation>
    </message>
    <message>
        <source>Mist coolant ON</source>
        <translation>Refrigerante por niebla activado</translation>
    </message>
    <message>
        <source>Coolant ON</source>
        <translation>Refrigerante activado</translation>
    </message>
    <message>
        <source>Coolant OFF</source>
        <translation>Refrigerante desactivado</translation>
    </message>
    <message>
        <source>Spindle orientation</source>
        <translation>Orientación del husillo</translation>
    </message>
    <message>
        <source>End of program and rewind</source>
        <translation>Fin de programa y rebobinado</translation>
    </message>
    <message>
        <source>Low speed range</source>
        <translation>Gama de velocidades baja</translation>
    </message>
    <message>
        <source>High speed range</source>
        <translation>Gama de velocidades alta</translation>
    </message>
    <message>
        <source>Call subprogram</source>
        <translation>Llamada a subprograma</translation>
    </message>
    <message>
        <source>End subprogram / return</source>
        <translation>Fin de subprograma / retorno</translation>
    </message>
    <message>
        <source>Untitled</source>
        <translation>Sin título</translation>
    </message>
    <message>
        <source>Unable to Save</source>
        <translation>No se pudo guardar</translation>
    </message>
    <message>
        <source>Choose a backup (.bak) to open</source>
        <translation>Elija una copia de seguridad (.bak) para abrir</translation>
    </message>
    <message>
        <source>Save As…</source>
        <translation>Guardar como…</translation>
    </message>
    <message>
        <source>Restore Backup…</source>
        <translation>Restaurar copia de seguridad…</translation>
    </message>
    <message>
        <source>Show Backups Folder</source>
        <translation>Mostrar carpeta de copias de seguridad</translation>
    </message>
    <message>
        <source>Choose one or more programs to edit</source>
        <translation>Elija uno o varios programas para editar</translation>
    </message>
    <message>
        <source>Unable to Open</source>
        <translation>No se pudo abrir</translation>
    </message>
    <message>
        <source>Unable to read %@.</source>
        <translation>No se pudo leer %@.</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Aplicar</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Go To</source>
        <translation>Ir a</translation>
    </message>
    <message>
        <source>Line number or N block number (e.g. 120 or N120):</source>
        <translation>Número de línea o número de bloque N (p. ej. 120 o N120):</translation>
    </message>
    <message>
        <source>Remove M Codes</source>
        <translation>Quitar códigos M</translation>
    </message>
    <message>
        <source>M codes to remove, separated by commas (e.g. 8, 9, 0):</source>
        <translation>Códigos M que se quitarán, separados por comas (p. ej. 8, 9, 0):</translation>
    </message>
    <message>
        <source>Reduce Feed</source>
        <translation>Reducir avance</translation>
    </message>
    <message>
        <source>Reduce ALL F feed rates by this percentage:</source>
        <translation>Reducir TODOS los avances F en este porcentaje:</translation>
    </message>
    <message>
        <source>Adjust Spindle S</source>
        <translation>Ajustar husillo S</translation>
    </message>
    <message>
        <source>Change ALL S values by % (positive increases, negative decreases):</source>
        <translation>Cambiar TODOS los valores S en % (positivo aumenta, negativo reduce):</translation>
    </message>
    <message>
        <source>Axis Ranges (%@)</source>
        <translation>Rangos de ejes (%@)</translation>
    </message>
    <message>
        <source>%@:   min %.4g    max %.4g    (Δ %.4g)</source>
        <translation>%@:   mín %.4g    máx %.4g    (Δ %.4g)</translation>
    </message>
    <message>
        <source>No X, Y, or Z coordinates were found in the program.</source>
        <translation>No se encontraron coordenadas X, Y ni Z en el programa.</translation>
    </message>
    <message>
        <source>No Machine</source>
        <translation>Sin máquina</translation>
    </message>
    <message>
        <source>Add or select a machine in the panel below.</source>
        <translation>Añada o seleccione una máquina en el panel inferior.</translation>
    </message>
    <message>
        <source>No Serial Port</source>
        <translation>Sin puerto serie</translation>
    </message>
    <message>
        <source>Connect a USB-to-serial adapter and click Refresh Ports.</source>
        <translation>Conecte un adaptador USB-serie y haga clic en Actualizar puertos.</translation>
    </message>
    <message>
        <source>Remove coolant</source>
        <translation>Quitar refrigerante</translation>
    </message>
    <message>
        <source>Explorer</source>
        <translation>Explorador</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Editar</translation>
    </message>
    <message>
        <source>Program</source>
        <translation>Programa</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Ver</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Ayuda</translation>
    </message>
    <message>
        <source>New Program</source>
        <translation>Nuevo programa</translation>
    </message>
    <message>
        <source>Open…</source>
        <translation>Abrir…</translation>
    </message>
    <message>
        <source>Add Folder…</source>
        <translation>Añadir carpeta…</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Guardar</translation>
    </message>
    <message>
        <source>Go to Line or N Block…</source>
        <translation>Ir a línea o bloque N…</translation>
    </message>
    <message>
        <source>Renumber N Lines</source>
        <translation>Renumerar líneas N</translation>
    </message>
    <message>
        <source>Number Missing Lines</source>
        <translation>Numerar líneas sin número</translation>
    </message>
    <message>
        <source>Remove N Line Numbers</source>
        <translation>Quitar números de línea N</translation>
    </message>
    <message>
        <source>Format Uniform Spacing</source>
        <translation>Uniformar espaciado</translation>
    </message>
    <message>
        <source>Remove Coolant (M8/M08)</source>
        <translation>Quitar refrigerante (M8/M08)</translation>
    </message>
    <message>
        <source>Remove M Codes…</source>
        <translation>Quitar códigos M…</translation>
    </message>
    <message>
        <source>Reduce Feed F by Percentage…</source>
        <translation>Reducir avance F en porcentaje…</translation>
    </message>
    <message>
        <source>Adjust Spindle S by Percentage…</source>
        <translation>Ajustar husillo S en porcentaje…</translation>
    </message>
    <message>
        <source>XYZ Axis Ranges</source>
        <translation>Rangos de ejes XYZ</translation>
    </message>
    <message>
        <source>Analysis Panel</source>
        <translation>Panel de análisis</translation>
    </message>
    <message>
        <source>Increase Font Size</source>
        <translation>Aumentar tamaño de fuente</translation>
    </message>
    <message>
        <source>Decrease Font Size</source>
        <translation>Reducir tamaño de fuente</translation>
    </message>
    <message>
        <source>Send to Machine</source>
        <translation>Enviar a la máquina</translation>
    </message>
    <message>
        <source>Cancel Transfer</source>
        <translation>Cancelar transferencia</translation>
    </message>
    <message>
        <source>Refresh Ports</source>
        <translation>Actualizar puertos</translation>
    </message>
    <message>
        <source>Manage Machines…</source>
        <translation>Gestionar máquinas…</translation>
    </message>
    <message>
        <source>Analysis</source>
        <translation>Análisis</translation>
    </message>
    <message>
        <source>VARN Edit</source>
        <translation>VARN Edit</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>Aceptar</translation>
    </message>
    <message>
        <source>New</source>
        <translation>Nuevo</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Guardar como</translation>
    </message>
    <message>
        <source>Find</source>
        <translation>Buscar</translation>
    </message>
    <message>
        <source>Replace</source>
        <translation>Reemplazar</translation>
    </message>
    <message>
        <source>Find and Replace</source>
        <translation>Buscar y reemplazar</translation>
    </message>
    <message>
        <source>Appearance</source>
        <translation>Apariencia</translation>
    </message>
    <message>
        <source>Appearance: System / Light / Dark</source>
        <translation>Apariencia: Sistema / Claro / Oscuro</translation>
    </message>
    <message>
        <source>System</source>
        <translation>Sistema</translation>
    </message>
    <message>
        <source>Light</source>
        <translation>Claro</translation>
    </message>
    <message>
        <source>Dark</source>
        <translation>Oscuro</translation>
    </message>
    <message>
        <source>New Program (⌘N)</source>
        <translation>Nuevo programa (⌘N)</translation>
    </message>
    <message>
        <source>Open… (⌘O)</source>
        <translation>Abrir… (⌘O)</translation>
    </message>
    <message>
        <source>Save (⌘S)</source>
        <translation>Guardar (⌘S)</translation>
    </message>
    <message>
        <source>Save As… (⇧⌘S)</source>
        <translation>Guardar como… (⇧⌘S)</translation>
    </message>
    <message>
        <source>Find (⌘F)</source>
        <translation>Buscar (⌘F)</translation>
    </message>
    <message>
        <source>Go to Line or N Block (⌘L)</source>
        <translation>Ir a línea o bloque N (⌘L)</translation>
    </message>
    <message>
        <source>Decrease Font Size (⌘−)</source>
        <translation>Reducir tamaño de fuente (⌘−)</translation>
    </message>
    <message>
        <source>Increase Font Size (⌘+)</source>
        <translation>Aumentar tamaño de fuente (⌘+)</translation>
    </message>
    <message>
        <source>New Program (Ctrl+N)</source>
        <translation>Nuevo programa (Ctrl+N)</translation>
    </message>
    <message>
        <source>Open… (Ctrl+O)</source>
        <translation>Abrir… (Ctrl+O)</translation>
    </message>
    <message>
        <source>Save (Ctrl+S)</source>
        <translation>Guardar (Ctrl+S)</translation>
    </message>
    <message>
        <source>Save As… (Ctrl+Shift+S)</source>
        <translation>Guardar como… (Ctrl+Mayús+S)</translation>
    </message>
    <message>
        <source>Find (Ctrl+F)</source>
        <translation>Buscar (Ctrl+F)</translation>
    </message>
    <message>
        <source>Go to Line or N Block (Ctrl+L)</source>
        <translation>Ir a línea o bloque N (Ctrl+L)</translation>
    </message>
    <message>
        <source>Decrease Font Size (Ctrl+-)</source>
        <translation>Reducir tamaño de fuente (Ctrl+-)</translation>
    </message>
    <message>
        <source>Increase Font Size (Ctrl++)</source>
        <translation>Aumentar tamaño de fuente (Ctrl++)</translation>
    </message>
    <message>
        <source>Lines</source>
        <translation>Líneas</translation>
    </message>
    <message>
        <source>Adjustments</source>
        <translation>Ajustes</translation>
    </message>
    <message>
        <source>Navigate</source>
        <translation>Navegar</translation>
    </message>
    <message>
        <source>Editing</source>
        <translation>Edición</translation>
    </message>
    <message>
        <source>Navigation</source>
        <translation>Navegación</translation>
    </message>
    <message>
        <source>Font Size</source>
        <translation>Tamaño de fuente</translation>
    </message>
    <message>
        <source>Renumber All Lines</source>
        <translation>Renumerar todas las líneas</translation>
    </message>
    <message>
        <source>Number Lines Where Missing</source>
        <translation>Numerar líneas donde falte</translation>
    </message>
    <message>
        <source>Format Spacing</source>
        <translation>Formatear espaciado</translation>
    </message>
    <message>
        <source>Remove Coolant M8/M08</source>
        <translation>Quitar refrigerante M8/M08</translation>
    </message>
    <message>
        <source>Reduce Feed F by %…</source>
        <translation>Reducir avance F en %…</translation>
    </message>
    <message>
        <source>Adjust Spindle S by %…</source>
        <translation>Ajustar husillo S en %…</translation>
    </message>
    <message>
        <source>Next Tool Change</source>
        <translation>Siguiente cambio de herramienta</translation>
    </message>
    <message>
        <source>Next Spindle Speed S</source>
        <translation>Siguiente velocidad de husillo S</translation>
    </message>
    <message>
        <source>No Program Open</source>
        <translation>Ningún programa abierto</translation>
    </message>
    <message>
        <source>Create a new program, open one from Explorer, or drag it here.</source>
        <translation>Cree un programa nuevo, abra uno desde el Explorador o arrástrelo aquí.</translation>
    </message>
    <message>
        <source>Loading…</source>
        <translation>Cargando…</translation>
    </message>
    <message>
        <source>Close Tab</source>
        <translation>Cerrar pestaña</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Deshacer</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Rehacer</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Cortar</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copiar</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Pegar</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Seleccionar todo</translation>
    </message>
    <message>
        <source>Find Next</source>
        <translation>Buscar siguiente</translation>
    </message>
    <message>
        <source>Find Previous</source>
        <translation>Buscar anterior</translation>
    </message>
    <message>
        <source>Match Case</source>
        <translation>Distinguir mayúsculas y minúsculas</translation>
    </message>
    <message>
        <source>Replace All</source>
        <translation>Reemplazar todo</translation>
    </message>
    <message>
        <source>Replace with</source>
        <translation>Reemplazar por</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Siguiente</translation>
    </message>
    <message>
        <source>Previous</source>
        <translation>Anterior</translation>
    </message>
    <message>
        <source>Not found</source>
        <translation>No encontrado</translation>
    </message>
    <message>
        <source>About VARN Edit</source>
        <translation>Acerca de VARN Edit</translation>
    </message>
    <message>
        <source>Don&apos;t Save</source>
        <translation>No guardar</translation>
    </message>
    <message>
        <source>Save changes to %@?</source>
        <translation>¿Guardar los cambios en %@?</translation>
    </message>
    <message>
        <source>Your changes will be lost if you don&apos;t save them.</source>
        <translation>Los cambios se perderán si no los guarda.</translation>
    </message>
    <message>
        <source>Remove Folder</source>
        <translation>Quitar carpeta</translation>
    </message>
    <message>
        <source>Reveal in File Manager</source>
        <translation>Mostrar en el gestor de archivos</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Abrir</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Preferencias</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Idioma</translation>
    </message>
    <message>
        <source>Editor Font Size</source>
        <translation>Tamaño de fuente del editor</translation>
    </message>
    <message>
        <source>English</source>
        <translation>English</translation>
    </message>
    <message>
        <source>Español</source>
        <translation>Español</translation>
    </message>
    <message>
        <source>ANALYSIS</source>
        <translation>ANÁLISIS</translation>
    </message>
    <message>
        <source>Recalculate</source>
        <translation>Recalcular</translation>
    </message>
    <message>
        <source>Close Panel</source>
        <translation>Cerrar panel</translation>
    </message>
    <message>
        <source>Analyzing program…</source>
        <translation>Analizando programa…</translation>
    </message>
    <message>
        <source>Open a program to analyze it.</source>
        <translation>Abra un programa para analizarlo.</translation>
    </message>
    <message>
        <source>Summary</source>
        <translation>Resumen</translation>
    </message>
    <message>
        <source>Program Number</source>
        <translation>Número de programa</translation>
    </message>
    <message>
        <source>Units</source>
        <translation>Unidades</translation>
    </message>
    <message>
        <source>Tools</source>
        <translation>Herramientas</translation>
    </message>
    <message>
        <source>Estimated Time</source>
        <translation>Tiempo estimado</translation>
    </message>
    <message>
        <source>S (spindle)</source>
        <translation>S (husillo)</translation>
    </message>
    <message>
        <source>F (feed)</source>
        <translation>F (avance)</translation>
    </message>
    <message>
        <source>Comments</source>
        <translation>Comentarios</translation>
    </message>
    <message>
        <source>Warnings</source>
        <translation>Avisos</translation>
    </message>
    <message>
        <source>No Warnings</source>
        <translation>Sin avisos</translation>
    </message>
    <message>
        <source>Line %@</source>
        <translation>Línea %@</translation>
    </message>
    <message>
        <source>standard input</source>
        <translation>entrada estándar</translation>
    </message>
    <message>
        <source>Cannot read %@.</source>
        <translation>No se puede leer %@.</translation>
    </message>
    <message>
        <source>%@: no such file.</source>
        <translation>%@: no existe el archivo.</translation>
    </message>
    <message>
        <source>%@: cannot read the file (%@).</source>
        <translation>%@: no se puede leer el archivo (%@).</translation>
    </message>
    <message>
        <source>%@: not valid UTF-8 (byte %@).</source>
        <translation>%@: no es UTF-8 válido (byte %@).</translation>
    </message>
    <message>
        <source>Missing argument. Usage: %@</source>
        <translation>Falta un argumento. Uso: %@</translation>
    </message>
    <message>
        <source>Unexpected argument &quot;%@&quot;. Usage: %@</source>
        <translation>Argumento inesperado &quot;%@&quot;. Uso: %@</translation>
    </message>
    <message>
        <source>Unknown language &quot;%@&quot; (use en or es).</source>
        <translation>Idioma desconocido &quot;%@&quot; (use en o es).</translation>
    </message>
    <message>
        <source>Unknown option %@ for &quot;%@&quot;.</source>
        <translation>Opción %@ desconocida para &quot;%@&quot;.</translation>
    </message>
    <message>
        <source>Option %@ needs a value.</source>
        <translation>La opción %@ necesita un valor.</translation>
    </message>
    <message>
        <source>Option %@ takes no value.</source>
        <translation>La opción %@ no admite valor.</translation>
    </message>
    <message>
        <source>%@ needs a whole number, not &quot;%@&quot;.</source>
        <translation>%@ necesita un número entero, no &quot;%@&quot;.</translation>
    </message>
    <message>
        <source>--axes needs at least one axis letter.</source>
        <translation>--axes necesita al menos una letra de eje.</translation>
    </message>
    <message>
        <source>--axes takes axis letters such as XYZ, not &quot;%@&quot;.</source>
        <translation>--axes admite letras de eje como XYZ, no &quot;%@&quot;.</translation>
    </message>
    <message>
        <source>--in-place needs a FILE to write back to.</source>
        <translation>--in-place necesita un ARCHIVO en el que escribir.</translation>
    </message>
    <message>
        <source>A scaled value would not fit in 64 bits; nothing was changed.</source>
        <translation>Un valor escalado no cabría en 64 bits; no se ha cambiado nada.</translation>
    </message>
    <message>
        <source>Analyse the program: summary, tools, comments and warnings.</source>
        <translation>Analiza el programa: resumen, herramientas, comentarios y avisos.</translation>
    </message>
    <message>
        <source>Every command takes --lang en|es and --help. Exit status: 0 done, 1 failed, 2 bad input, 130 cancelled.</source>
        <translation>Todos los comandos admiten --lang en|es y --help. Código de salida: 0 hecho, 1 fallo, 2 entrada incorrecta, 130 cancelado.</translation>
    </message>
    <message>
        <source>FACTOR must be a decimal number such as 0.9, not &quot;%@&quot;.</source>
        <translation>FACTOR debe ser un número decimal como 0.9, no &quot;%@&quot;.</translation>
    </message>
    <message>
        <source>Line</source>
        <translation>Línea</translation>
    </message>
    <message>
        <source>List the serial ports a program can be sent to, USB adapters first.</source>
        <translation>Lista los puertos serie a los que se puede enviar un programa, primero los adaptadores USB.</translation>
    </message>
    <message>
        <source>List the stored machine profiles with their line settings.</source>
        <translation>Lista los perfiles de máquina guardados con su configuración de línea.</translation>
    </message>
    <message>
        <source>More than one machine is called &quot;%@&quot;; use its id.</source>
        <translation>Hay más de una máquina llamada &quot;%@&quot;; use su identificador.</translation>
    </message>
    <message>
        <source>Multiply every F value by FACTOR, e.g. 0.9.</source>
        <translation>Multiplica cada valor F por FACTOR, p. ej. 0.9.</translation>
    </message>
    <message>
        <source>Multiply every S value by FACTOR, e.g. 1.1.</source>
        <translation>Multiplica cada valor S por FACTOR, p. ej. 1.1.</translation>
    </message>
    <message>
        <source>No machine &quot;%@&quot;. Known machines: %@.</source>
        <translation>No existe la máquina &quot;%@&quot;. Máquinas conocidas: %@.</translation>
    </message>
    <message>
        <source>Number the blocks that have no N word; numbered blocks keep theirs.</source>
        <translation>Numera los bloques sin palabra N; los bloques numerados conservan la suya.</translation>
    </message>
    <message>
        <source>Options: %@</source>
        <translation>Opciones: %@</translation>
    </message>
    <message>
        <source>Remove every coolant-on code (M8, M08).</source>
        <translation>Quita todos los códigos de refrigerante activado (M8, M08).</translation>
    </message>
    <message>
        <source>Remove the N word at the start of every block.</source>
        <translation>Quita la palabra N al inicio de cada bloque.</translation>
    </message>
    <message>
        <source>Remove the listed M codes, e.g. &quot;8, 9&quot;.</source>
        <translation>Quita los códigos M indicados, p. ej. &quot;8, 9&quot;.</translation>
    </message>
    <message>
        <source>Renumber every block (N words), 10, 20, 30… by default.</source>
        <translation>Renumera todos los bloques (palabras N), 10, 20, 30… por defecto.</translation>
    </message>
    <message>
        <source>Report the smallest and largest value of each axis.</source>
        <translation>Informa del valor mínimo y máximo de cada eje.</translation>
    </message>
    <message>
        <source>Send the program to a machine; Ctrl-C cancels.</source>
        <translation>Envía el programa a una máquina; Ctrl-C cancela.</translation>
    </message>
    <message>
        <source>The block numbers would not fit in 64 bits; choose a smaller start or increment.</source>
        <translation>Los números de bloque no cabrían en 64 bits; elija un inicio o incremento menor.</translation>
    </message>
    <message>
        <source>Trim every block and collapse runs of blanks to one.</source>
        <translation>Recorta cada bloque y reduce los espacios repetidos a uno solo.</translation>
    </message>
    <message>
        <source>Unknown command &quot;%@&quot;. See varn --help.</source>
        <translation>Comando desconocido &quot;%@&quot;. Consulte varn --help.</translation>
    </message>
    <message>
        <source>Usage: %@</source>
        <translation>Uso: %@</translation>
    </message>
    <message>
        <source>Usage: varn COMMAND [OPTIONS] [FILE]</source>
        <translation>Uso: varn COMANDO [OPCIONES] [ARCHIVO]</translation>
    </message>
    <message>
        <source>VARN Edit's program tools, analysis and sender for the command line. FILE omitted or &quot;-&quot; reads standard input; results go to standard output.</source>
        <translation>Herramientas de programa, análisis y envío de VARN Edit para la línea de comandos. Sin ARCHIVO o con &quot;-&quot; se lee la entrada estándar; los resultados van a la salida estándar.</translation>
    </message>
    <message>
        <source>Write the exact bytes the sender would put on the wire.</source>
        <translation>Escribe los bytes exactos que el emisor enviaría por la línea.</translation>
    </message>
    <message>
        <source>payload needs --terminator CR, CRLF or LF.</source>
        <translation>payload necesita --terminator CR, CRLF o LF.</translation>
    </message>
    <message>
        <source>send needs --machine ID|NAME and --port PATH.</source>
        <translation>send necesita --machine ID|NOMBRE y --port RUTA.</translation>
    </message>
    <message>
        <source>Choose folders to show in Explorer</source>
        <translation>Elija las carpetas que se mostrarán en el Explorador</translation>
    </message>
    <message>
        <source>Add a folder of programs to see it here.</source>
        <translation>Añada una carpeta de programas para verla aquí.</translation>
    </message>
    <message>
        <source>Delete the machine “%@”?</source>
        <translation>¿Eliminar la máquina «%@»?</translation>
    </message>
    <message>
        <source>This cannot be undone.</source>
        <translation>Esta acción no se puede deshacer.</translation>
    </message>
    <message>
        <source>Preferences…</source>
        <translation>Preferencias…</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Salir</translation>
    </message>
    <message>
        <source>G-code editor and DNC sender for CNC machines.</source>
        <translation>Editor de código G y emisor DNC para máquinas CNC.</translation>
    </message>
    <message>
        <source>Line %@ holds “%@”, which %@ cannot hold. Nothing was saved; change that character and save again.</source>
        <translation>La línea %@ contiene «%@», que %@ no puede representar. No se guardó nada; cambie ese carácter y vuelva a guardar.</translation>
    </message>
    <message>
        <source>Choose an Encoding</source>
        <translation>Elegir una codificación</translation>
    </message>
    <message>
        <source>%@ is not UTF-8 text. Choose the code page it was written in; the lines below show how it reads them.</source>
        <translation>%@ no es texto UTF-8. Elija la página de códigos en que se escribió; las líneas de abajo muestran cómo las lee.</translation>
    </message>
    <message>
        <source>Encoding: %@</source>
        <translation>Codificación: %@</translation>
    </message>
    <message>
        <source>To read a program in an older code page, add --encoding NAME (%@).</source>
        <translation>Para leer un programa en una página de códigos antigua, añada --encoding NOMBRE (%@).</translation>
    </message>
    <message>
        <source>Unknown encoding &quot;%@&quot; (use %@).</source>
        <translation>Codificación desconocida &quot;%@&quot; (use %@).</translation>
    </message>
    <message>
        <source>varn-edit: no display to open a window on (DISPLAY and WAYLAND_DISPLAY are unset). Run VARN_SELFTEST=1 varn-edit for the self-test, or use the command-line tool varn (varn --help).</source>
        <translation>varn-edit: no hay pantalla donde abrir una ventana (DISPLAY y WAYLAND_DISPLAY no están definidas). Ejecute VARN_SELFTEST=1 varn-edit para la autoprueba, o use la herramienta de línea de órdenes varn (varn --help).</translation>
    </message>
    <message>
        <source>Receive error: %@</source>
        <translation>Error de recepción: %@</translation>
    </message>
    <message>
        <source>Waiting for the machine…</source>
        <translation>Esperando a la máquina…</translation>
    </message>
    <message>
        <source>Receiving…</source>
        <translation>Recibiendo…</translation>
    </message>
    <message>
        <source>Program Received</source>
        <translation>Programa recibido</translation>
    </message>
    <message>
        <source>Receive Error</source>
        <translation>Error de recepción</translation>
    </message>
    <message>
        <source>Receive Cancelled</source>
        <translation>Recepción cancelada</translation>
    </message>
    <message>
        <source>1 error</source>
        <translation>1 error</translation>
    </message>
    <message>
        <source>%@ errors</source>
        <translation>%@ errores</translation>
    </message>
    <message>
        <source>Could not save the received program: %@</source>
        <translation>No se pudo guardar el programa recibido: %@</translation>
    </message>
    <message>
        <source>Saved %@</source>
        <translation>Guardado %@</translation>
    </message>
    <message>
        <source>Received %@</source>
        <translation>Recibido %@</translation>
    </message>
    <message>
        <source>receive needs --machine ID|NAME and --port PATH.</source>
        <translation>receive necesita --machine ID|NOMBRE y --port RUTA.</translation>
    </message>
    <message>
        <source>--idle takes whole seconds from 1 to 3600.</source>
        <translation>--idle admite segundos enteros de 1 a 3600.</translation>
    </message>
    <message>
        <source>Toolpath</source>
        <translation>Trayectoria</translation>
    </message>
    <message>
        <source>Toolpath (Ctrl+Shift+P)</source>
        <translation>Trayectoria (Ctrl+Mayús+P)</translation>
    </message>
    <message>
        <source>Top</source>
        <translation>Planta</translation>
    </message>
    <message>
        <source>Front</source>
        <translation>Alzado</translation>
    </message>
    <message>
        <source>Side</source>
        <translation>Perfil</translation>
    </message>
    <message>
        <source>Iso</source>
        <translation>Iso</translation>
    </message>
    <message>
        <source>Turning</source>
        <translation>Torneado</translation>
    </message>
    <message>
        <source>Fit</source>
        <translation>Ajustar</translation>
    </message>
    <message>
        <source>Show the whole path (double-click)</source>
        <translation>Mostrar toda la trayectoria (doble clic)</translation>
    </message>
    <message>
        <source>Drawing the path…</source>
        <translation>Dibujando la trayectoria…</translation>
    </message>
    <message>
        <source>Rapid</source>
        <translation>Rápido</translation>
    </message>
    <message>
        <source>Feed</source>
        <translation>Avance</translation>
    </message>
    <message>
        <source>Hole</source>
        <translation>Taladro</translation>
    </message>
    <message>
        <source>Sent</source>
        <translation>Enviado</translation>
    </message>
    <message>
        <source>Nothing moves in this program.</source>
        <translation>Este programa no mueve nada.</translation>
    </message>
    <message>
        <source>X %@ to %@ · Y %@ to %@ · Z %@ to %@ %@</source>
        <translation>X %@ a %@ · Y %@ a %@ · Z %@ a %@ %@</translation>
    </message>
    <message>
        <source>Feed %@ · Rapid %@ %@ · Cutting time %@</source>
        <translation>Avance %@ · Rápido %@ %@ · Tiempo de corte %@</translation>
    </message>
    <message>
        <source>Line %@ · %@</source>
        <translation>Línea %@ · %@</translation>
    </message>
    <message>
        <source>Name the picture to write with -o FILE.png.</source>
        <translation>Indique la imagen que se escribirá con -o ARCHIVO.png.</translation>
    </message>
    <message>
        <source>--size takes WIDTHxHEIGHT between 16 and %@ pixels, not &quot;%@&quot;.</source>
        <translation>--size admite ANCHOxALTO entre 16 y %@ píxeles, no &quot;%@&quot;.</translation>
    </message>
    <message>
        <source>--view takes top, front, side or iso, not &quot;%@&quot;.</source>
        <translation>--view admite top, front, side o iso, no &quot;%@&quot;.</translation>
    </message>
    <message>
        <source>Could not write %@: %@</source>
        <translation>No se pudo escribir %@: %@</translation>
    </message>
    <message>
        <source>Received %@ (%@)</source>
        <translation>Recibido %@ (%@)</translation>
    </message>
    <message>
        <source>Line %@: parity or framing error</source>
        <translation>Línea %@: error de paridad o de trama</translation>
    </message>
    <message>
        <source>Wait for a machine to send a program and write it to FILE (with FILE.raw beside it) or standard output; Ctrl-C cancels.</source>
        <translation>Espera a que una máquina envíe un programa y lo escribe en FILE (con FILE.raw al lado) o en la salida estándar; Ctrl-C cancela.</translation>
    </message>
    <message>
        <source>Could not keep the received bytes in %@: %@</source>
        <translation>No se pudieron conservar los bytes recibidos en %@: %@</translation>
    </message>
    <message>
        <source>Choose the folder received programs are saved in</source>
        <translation>Elija la carpeta donde se guardan los programas recibidos</translation>
    </message>
    <message>
        <source>%@ programs saved, the last as %@</source>
        <translation>%@ programas guardados, el último como %@</translation>
    </message>
    <message>
        <source>Received bytes kept in %@</source>
        <translation>Bytes recibidos conservados en %@</translation>
    </message>
    <message>
        <source>The machine holds the same program.</source>
        <translation>La máquina tiene el mismo programa.</translation>
    </message>
    <message>
        <source>%@ blocks differ.</source>
        <translation>%@ bloques difieren.</translation>
    </message>
    <message>
        <source>(missing)</source>
        <translation>(falta)</translation>
    </message>
    <message>
        <source>Compare with the Machine</source>
        <translation>Comparar con la máquina</translation>
    </message>
    <message>
        <source>Receive from Machine</source>
        <translation>Recibir de la máquina</translation>
    </message>
    <message>
        <source>Start, then have the machine punch out the program. It is compared with the open program block by block.</source>
        <translation>Pulse Iniciar y haga que la máquina envíe el programa. Se compara con el programa abierto bloque a bloque.</translation>
    </message>
    <message>
        <source>Start, then have the machine punch out the program. It opens as a new document.</source>
        <translation>Pulse Iniciar y haga que la máquina envíe el programa. Se abre como un documento nuevo.</translation>
    </message>
    <message>
        <source>Keep listening and save every program in:</source>
        <translation>Seguir escuchando y guardar cada programa en:</translation>
    </message>
    <message>
        <source>Choose…</source>
        <translation>Elegir…</translation>
    </message>
    <message>
        <source>no folder chosen</source>
        <translation>ninguna carpeta elegida</translation>
    </message>
    <message>
        <source>Document</source>
        <translation>Documento</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>Iniciar</translation>
    </message>
    <message>
        <source>Receive from Machine…</source>
        <translation>Recibir de la máquina…</translation>
    </message>
    <message>
        <source>Compare with the Machine…</source>
        <translation>Comparar con la máquina…</translation>
    </message>
    <message>
        <source>Receive…</source>
        <translation>Recibir…</translation>
    </message>
    <message>
        <source>ASCII (ISO)</source>
        <translation>ASCII (ISO)</translation>
    </message>
    <message>
        <source>EIA RS-244</source>
        <translation>EIA RS-244</translation>
    </message>
    <message>
        <source>Waiting for XON from the machine…</source>
        <translation>Esperando XON de la máquina…</translation>
    </message>
    <message>
        <source>%@ characters have no code in EIA RS-244 and were left out.</source>
        <translation>%@ caracteres no tienen código en EIA RS-244 y se omitieron.</translation>
    </message>
    <message>
        <source>Wire format</source>
        <translation>Formato en la línea</translation>
    </message>
    <message>
        <source>Leader (NULs)</source>
        <translation>Cabecera (NUL)</translation>
    </message>
    <message>
        <source>Trailer (NULs)</source>
        <translation>Cola (NUL)</translation>
    </message>
    <message>
        <source>Start Character</source>
        <translation>Carácter de inicio</translation>
    </message>
    <message>
        <source>End Character</source>
        <translation>Carácter de fin</translation>
    </message>
    <message>
        <source>End of Block</source>
        <translation>Fin de bloque</translation>
    </message>
    <message>
        <source>Empty: the line terminator. Control characters by name: CR LF NUL DC2 DC4 TAB.</source>
        <translation>Vacío: el terminador de línea. Caracteres de control por su nombre: CR LF NUL DC2 DC4 TAB.</translation>
    </message>
    <message>
        <source>Line terminator</source>
        <translation>Terminador de línea</translation>
    </message>
    <message>
        <source>Delay After Line</source>
        <translation>Pausa tras cada línea</translation>
    </message>
    <message>
        <source>Character Code</source>
        <translation>Código de caracteres</translation>
    </message>
    <message>
        <source>Strip comments</source>
        <translation>Quitar comentarios</translation>
    </message>
    <message>
        <source>Strip spaces</source>
        <translation>Quitar espacios</translation>
    </message>
    <message>
        <source>Strip blank lines</source>
        <translation>Quitar líneas vacías</translation>
    </message>
    <message>
        <source>Upper case</source>
        <translation>Mayúsculas</translation>
    </message>
    <message>
        <source>Wait for XON (DC1) before sending</source>
        <translation>Esperar XON (DC1) antes de enviar</translation>
    </message>
    <message>
        <source>Byte Preview</source>
        <translation>Vista de bytes</translation>
    </message>
    <message>
        <source>Open a program and choose a machine to see its bytes.</source>
        <translation>Abra un programa y elija una máquina para ver sus bytes.</translation>
    </message>
    <message>
        <source>%@ bytes on the wire.</source>
        <translation>%@ bytes en la línea.</translation>
    </message>
    <message>
        <source>Showing the first %@.</source>
        <translation>Se muestran los primeros %@.</translation>
    </message>
    <message>
        <source>Transfer Log</source>
        <translation>Registro de transferencias</translation>
    </message>
    <message>
        <source>Transfer Log…</source>
        <translation>Registro de transferencias…</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Hora</translation>
    </message>
    <message>
        <source>Direction</source>
        <translation>Sentido</translation>
    </message>
    <message>
        <source>Bytes</source>
        <translation>Bytes</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>Resultado</translation>
    </message>
    <message>
        <source>Duration</source>
        <translation>Duración</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Actualizar</translation>
    </message>
    <message>
        <source>Receive</source>
        <translation>Recibir</translation>
    </message>
    <message>
        <source>not an address of the form tcp://HOST:PORT or rfc2217://HOST:PORT</source>
        <translation>no es una dirección de la forma tcp://HOST:PUERTO o rfc2217://HOST:PUERTO</translation>
    </message>
    <message>
        <source>the server does not offer serial port control (RFC 2217); use tcp:// for a raw server</source>
        <translation>el servidor no ofrece control del puerto serie (RFC 2217); use tcp:// para un servidor sin protocolo</translation>
    </message>
    <message>
        <source>the server did not confirm the line settings in time</source>
        <translation>el servidor no confirmó a tiempo los parámetros de la línea</translation>
    </message>
    <message>
        <source>the server refused %@</source>
        <translation>el servidor rechazó %@</translation>
    </message>
    <message>
        <source>%@ baud</source>
        <translation>%@ baudios</translation>
    </message>
    <message>
        <source>%@ data bits</source>
        <translation>%@ bits de datos</translation>
    </message>
    <message>
        <source>the parity</source>
        <translation>la paridad</translation>
    </message>
    <message>
        <source>%@ stop bits</source>
        <translation>%@ bits de parada</translation>
    </message>
    <message>
        <source>the flow control</source>
        <translation>el control de flujo</translation>
    </message>
    <message>
        <source>the server closed the connection</source>
        <translation>el servidor cerró la conexión</translation>
    </message>
    <message>
        <source>%@: the FTDI latency timer is %@ ms, which delays every XOFF and received byte. VARN Edit asks for low latency when it opens the port; where that is refused, set it to 1 ms: echo 1 | sudo tee %@</source>
        <translation>%@: el temporizador de latencia FTDI está en %@ ms, lo que retrasa cada XOFF y cada byte recibido. VARN Edit pide baja latencia al abrir el puerto; si se le niega, póngalo a 1 ms: echo 1 | sudo tee %@</translation>
    </message>
    <message>
        <source>%@: ModemManager is running and may send AT commands to this port when it appears. Install VARN Edit's udev rules, or stop ModemManager if this PC has no modem (sudo systemctl disable --now ModemManager).</source>
        <translation>%@: ModemManager está en marcha y puede enviar órdenes AT a este puerto cuando aparece. Instale las reglas udev de VARN Edit, o detenga ModemManager si este PC no tiene módem (sudo systemctl disable --now ModemManager).</translation>
    </message>
    <message>
        <source>%@: brltty (for braille displays) is installed and may take this CH340/CH341 adapter the next time it is plugged in; the port then vanishes. Remove it if no braille display is used (sudo apt remove brltty).</source>
        <translation>%@: brltty (para líneas braille) está instalado y puede quedarse con este adaptador CH340/CH341 la próxima vez que se conecte; el puerto desaparece entonces. Desinstálelo si no usa una línea braille (sudo apt remove brltty).</translation>
    </message>
    <message>
        <source>A CH340/CH341 USB serial adapter is plugged in but has no port: brltty (for braille displays) has taken it. Remove brltty (sudo apt remove brltty), then plug the adapter in again.</source>
        <translation>Hay un adaptador serie USB CH340/CH341 conectado pero sin puerto: brltty (para líneas braille) se ha quedado con él. Desinstale brltty (sudo apt remove brltty) y vuelva a conectar el adaptador.</translation>
    </message>
    <message>
        <source>No Such Port</source>
        <translation>No existe ese puerto</translation>
    </message>
    <message>
        <source>&quot;%@&quot; is not a port in the list. Type a network port as tcp://HOST:PORT or rfc2217://HOST:PORT.</source>
        <translation>&quot;%@&quot; no es un puerto de la lista. Escriba un puerto de red como tcp://HOST:PUERTO o rfc2217://HOST:PUERTO.</translation>
    </message>
    <message>
        <source>Not a Network Address</source>
        <translation>No es una dirección de red</translation>
    </message>
    <message>
        <source>Type a network port as tcp://HOST:PORT or rfc2217://HOST:PORT, for example rfc2217://192.168.1.20:4001.</source>
        <translation>Escriba un puerto de red como tcp://HOST:PUERTO o rfc2217://HOST:PUERTO, por ejemplo rfc2217://192.168.1.20:4001.</translation>
    </message>
    <message>
        <source>Pick a port, or type a network port as tcp://HOST:PORT or rfc2217://HOST:PORT and press Enter.</source>
        <translation>Elija un puerto, o escriba un puerto de red como tcp://HOST:PUERTO o rfc2217://HOST:PUERTO y pulse Intro.</translation>
    </message>
    <message>
        <source>Line Numbers</source>
        <translation>Números de línea</translation>
    </message>
    <message>
        <source>Compare two programs block by block and print the differences as a unified diff; exit status 0 when they are equal, 1 when they differ.</source>
        <translation>Compara dos programas bloque a bloque e imprime las diferencias como diff unificado; estado de salida 0 si son iguales, 1 si difieren.</translation>
    </message>
    <message>
        <source>--tolerance needs a number of 0 or more, such as 0.001, not &quot;%@&quot;.</source>
        <translation>--tolerance necesita un número de 0 o más, como 0.001, no «%@».</translation>
    </message>
    <message>
        <source>Only one of the two programs can come from standard input.</source>
        <translation>Solo uno de los dos programas puede venir de la entrada estándar.</translation>
    </message>
    <message>
        <source>Compare With…</source>
        <translation>Comparar con…</translation>
    </message>
    <message>
        <source>Compare Selected Files</source>
        <translation>Comparar los archivos seleccionados</translation>
    </message>
    <message>
        <source>Choose the program to compare with.</source>
        <translation>Elija el programa con el que comparar.</translation>
    </message>
    <message>
        <source>Comparing…</source>
        <translation>Comparando…</translation>
    </message>
    <message>
        <source>The programs are equal.</source>
        <translation>Los programas son iguales.</translation>
    </message>
    <message>
        <source>Difference %@ of %@</source>
        <translation>Diferencia %@ de %@</translation>
    </message>
    <message>
        <source>Differences: %@</source>
        <translation>Diferencias: %@</translation>
    </message>
    <message>
        <source>Numbers by value</source>
        <translation>Números por valor</translation>
    </message>
    <message>
        <source>X1. = X1.0 = X01: numbers are equal when their values are.</source>
        <translation>X1. = X1.0 = X01: los números son iguales cuando lo son sus valores.</translation>
    </message>
    <message>
        <source>Tolerance</source>
        <translation>Tolerancia</translation>
    </message>
    <message>
        <source>Ignore N numbers</source>
        <translation>Ignorar números N</translation>
    </message>
    <message>
        <source>Ignore blanks and comments</source>
        <translation>Ignorar espacios y comentarios</translation>
    </message>
    <message>
        <source>Previous Difference</source>
        <translation>Diferencia anterior</translation>
    </message>
    <message>
        <source>Next Difference</source>
        <translation>Diferencia siguiente</translation>
    </message>
    <message>
        <source>Compare</source>
        <translation>Comparar</translation>
    </message>
    <message>
        <source>Variable #%@ is not set; it reads as 0.</source>
        <translation>La variable #%@ no tiene valor; se lee como 0.</translation>
    </message>
    <message>
        <source>Variable #&lt;%@&gt; is not set; it reads as 0.</source>
        <translation>La variable #&lt;%@&gt; no tiene valor; se lee como 0.</translation>
    </message>
    <message>
        <source>Division by zero; the block is skipped.</source>
        <translation>División por cero; se omite el bloque.</translation>
    </message>
    <message>
        <source>%@ outside its domain; the block is skipped.</source>
        <translation>%@ fuera de su dominio; se omite el bloque.</translation>
    </message>
    <message>
        <source>Malformed word or expression; the block is skipped.</source>
        <translation>Palabra o expresión mal formada; se omite el bloque.</translation>
    </message>
    <message>
        <source>Further warnings are not listed.</source>
        <translation>No se muestran más avisos.</translation>
    </message>
    <message>
        <source>Not drawn: %@</source>
        <translation>No se dibuja: %@</translation>
    </message>
    <message>
        <source>Program flow is not followed; the path ends here.</source>
        <translation>El control de flujo del programa no se sigue; la trayectoria termina aquí.</translation>
    </message>
    <message>
        <source>Blocks N%@ to N%@ are not in the file; the cycle is not drawn.</source>
        <translation>Los bloques N%@ a N%@ no están en el archivo; el ciclo no se dibuja.</translation>
    </message>
    <message>
        <source>Calls nested deeper than 8 levels; the path ends here.</source>
        <translation>Llamadas anidadas en más de 8 niveles; la trayectoria termina aquí.</translation>
    </message>
    <message>
        <source>Program O%@ is not in the file; the call is skipped.</source>
        <translation>El programa O%@ no está en el archivo; se omite la llamada.</translation>
    </message>
    <message>
        <source>An arc given by R ends where it starts; nothing is drawn.</source>
        <translation>Un arco dado por R termina donde empieza; no se dibuja nada.</translation>
    </message>
    <message>
        <source>Arc radius R is smaller than half the distance to its end; drawn as a straight feed.</source>
        <translation>El radio R del arco es menor que la mitad de la distancia a su final; se dibuja como avance recto.</translation>
    </message>
    <message>
        <source>The arc&apos;s end is not on its circle (radius %@ mm at the start, %@ mm at the end); drawn as a straight feed.</source>
        <translation>El final del arco no está en su círculo (radio %@ mm al inicio, %@ mm al final); se dibuja como avance recto.</translation>
    </message>
    <message>
        <source>No R or no Z given for this hole; it is not drilled.</source>
        <translation>Falta R o Z para este agujero; no se taladra.</translation>
    </message>
    <message>
        <source>Roughing passes not drawn.</source>
        <translation>Pasadas de desbaste no dibujadas.</translation>
    </message>
    <message>
        <source>Not drawn: rotary axis %@</source>
        <translation>No se dibuja: eje rotativo %@</translation>
    </message>
    <message>
        <source>Units: %@</source>
        <translation>Unidades: %@</translation>
    </message>
    <message>
        <source>Turning: X is a diameter.</source>
        <translation>Torneado: X es un diámetro.</translation>
    </message>
    <message>
        <source>Moves: %@ rapid, %@ feed, %@ arc, %@ holes drilled</source>
        <translation>Movimientos: %@ rápidos, %@ de avance, %@ arcos, %@ agujeros taladrados</translation>
    </message>
    <message>
        <source>Length: %@ mm rapid, %@ mm feed</source>
        <translation>Longitud: %@ mm en rápido, %@ mm en avance</translation>
    </message>
    <message>
        <source>Rapid bounds (mm): %@</source>
        <translation>Límites en rápido (mm): %@</translation>
    </message>
    <message>
        <source>Feed bounds (mm): %@</source>
        <translation>Límites en avance (mm): %@</translation>
    </message>
    <message>
        <source>Cutting time at the programmed feeds: %@</source>
        <translation>Tiempo de corte a los avances programados: %@</translation>
    </message>
    <message>
        <source>Tools:</source>
        <translation>Herramientas:</translation>
    </message>
    <message>
        <source>T%@ from line %@: %@ mm of feed</source>
        <translation>T%@ desde la línea %@: %@ mm de avance</translation>
    </message>
    <message>
        <source>Interpreted to line %@.</source>
        <translation>Interpretado hasta la línea %@.</translation>
    </message>
    <message>
        <source>No warnings.</source>
        <translation>Sin avisos.</translation>
    </message>
    <message>
        <source>Warnings:</source>
        <translation>Avisos:</translation>
    </message>
    <message>
        <source>Line %@: %@</source>
        <translation>Línea %@: %@</translation>
    </message>
    <message>
        <source>Follow the path the tool travels: moves, lengths, bounds, tools and warnings.</source>
        <translation>Seguir la trayectoria de la herramienta: movimientos, longitudes, límites, herramientas y avisos.</translation>
    </message>
    <message>
        <source>Draw the path the tool travels into a PNG picture, as the Toolpath panel shows it.</source>
        <translation>Dibuja la trayectoria de la herramienta en una imagen PNG, como la muestra el panel Trayectoria.</translation>
    </message>
    <message>
        <source>Toolpath: %@</source>
        <translation>Trayectoria: %@</translation>
    </message>
    <message>
        <source>Line %@ is not in the program, which has %@ lines.</source>
        <translation>La línea %@ no está en el programa, que tiene %@ líneas.</translation>
    </message>
    <message>
        <source>The program does not reach line %@: it stops at line %@.</source>
        <translation>El programa no llega a la línea %@: se detiene en la línea %@.</translation>
    </message>
    <message>
        <source>A cycle is in force at this line and the preamble cancels it: restart from the block that starts the cycle.</source>
        <translation>En esta línea hay un ciclo activo y el preámbulo lo cancela: reanude desde el bloque que inicia el ciclo.</translation>
    </message>
    <message>
        <source>Cutter compensation (G41/G42) is on at this line and the preamble cancels it.</source>
        <translation>La compensación de radio (G41/G42) está activa en esta línea y el preámbulo la cancela.</translation>
    </message>
    <message>
        <source>No block before this line sets every axis: the preamble moves only the axes it knows.</source>
        <translation>Ningún bloque anterior a esta línea fija todos los ejes: el preámbulo mueve solo los ejes que conoce.</translation>
    </message>
    <message>
        <source>Use --from-line or --from-block, not both.</source>
        <translation>Use --from-line o --from-block, no ambos.</translation>
    </message>
    <message>
        <source>--from-line needs a line number, not &quot;%@&quot;.</source>
        <translation>--from-line necesita un número de línea, no «%@».</translation>
    </message>
    <message>
        <source>--from-block needs a block number such as N1234, not &quot;%@&quot;.</source>
        <translation>--from-block necesita un número de bloque como N1234, no «%@».</translation>
    </message>
    <message>
        <source>No block %@ in the program.</source>
        <translation>No hay ningún bloque %@ en el programa.</translation>
    </message>
    <message>
        <source>Restart preamble for line %@:</source>
        <translation>Preámbulo de reanudación para la línea %@:</translation>
    </message>
    <message>
        <source>Send from Line</source>
        <translation>Enviar desde una línea</translation>
    </message>
    <message>
        <source>Send from Line…</source>
        <translation>Enviar desde una línea…</translation>
    </message>
    <message>
        <source>Turning (X is a diameter)</source>
        <translation>Torneado (X es un diámetro)</translation>
    </message>
    <message>
        <source>To %@ on %@.</source>
        <translation>A %@ por %@.</translation>
    </message>
    <message>
        <source>Choose a machine and a port in the send panel first.</source>
        <translation>Elija primero una máquina y un puerto en el panel de envío.</translation>
    </message>
    <message>
        <source>Line:</source>
        <translation>Línea:</translation>
    </message>
    <message>
        <source>Restart preamble (you may edit it):</source>
        <translation>Preámbulo de reanudación (puede editarlo):</translation>
    </message>
    <message>
        <source>The machine runs these blocks first, then the program from line %@. Check the tool, its offsets and the clearance height before you start.</source>
        <translation>La máquina ejecuta primero estos bloques y después el programa desde la línea %@. Compruebe la herramienta, sus correctores y la altura de seguridad antes de empezar.</translation>
    </message>
    <message>
        <source>Then the program from line %@ (the first %@ lines of %@):</source>
        <translation>Después, el programa desde la línea %@ (las primeras %@ líneas de %@):</translation>
    </message>
    <message>
        <source>Then the program from line %@:</source>
        <translation>Después, el programa desde la línea %@:</translation>
    </message>
    <message>
        <source>First the program's own lines:</source>
        <translation>Primero, las líneas propias del programa:</translation>
    </message>
</context>
</TS>
